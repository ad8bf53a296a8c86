// Whose a file is, and who may write into a folder, as the file system's access lists have it.
#pragma once

#include "base/windows/WindowsApi.h"

#include <aclapi.h>
#include <sddl.h>

#include <string>
#include <vector>

namespace OrvWorkFlow::Base {

// What the system says of one file or folder when this is made. Where it cannot be asked, where the file system knows
// no owners, and of files of another machine, whose accounts are not this one's, nobody is foreign.
class FileAccess {
 public:
  // `flags` as for opening a file: FILE_FLAG_OPEN_REPARSE_POINT looks at a link and not at what it leads to.
  explicit FileAccess(const std::wstring& path, DWORD flags = 0) {
    constexpr DWORD kAllSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), READ_CONTROL, kAllSharing, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    constexpr SECURITY_INFORMATION kAsked = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    if (!IsRemote(file)) {
      is_known_ = GetSecurityInfo(file, SE_FILE_OBJECT, kAsked, &owner_, nullptr, &list_, nullptr, &descriptor_) ==
                  ERROR_SUCCESS;
    }
    CloseHandle(file);
  }
  ~FileAccess() { LocalFree(descriptor_); }
  FileAccess(const FileAccess&) = delete;
  FileAccess& operator=(const FileAccess&) = delete;

  // The identifier (S-1-...) of the account that owns it, when that is not this process's own, the system's or the
  // administrators'; "" otherwise.
  std::string ForeignOwner() const {
    if (!is_known_ || owner_ == nullptr || IsTrusted(owner_)) return {};
    char* text = nullptr;
    if (ConvertSidToStringSidA(owner_, &text) == 0) return {};
    std::string owner = text;
    LocalFree(text);
    return owner;
  }

  // Whether everybody, or each user of the machine, may put files into this folder. Entries that refuse something are
  // not looked at.
  bool IsOpenToAll() const {
    if (!is_known_) return false;
    if (list_ == nullptr) return true;
    for (DWORD index = 0; index < list_->AceCount; ++index) {
      void* entry = nullptr;
      if (GetAce(list_, index, &entry) == 0) continue;
      auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
      if (allowed->Header.AceType != ACCESS_ALLOWED_ACE_TYPE || (allowed->Header.AceFlags & INHERIT_ONLY_ACE) != 0) {
        continue;
      }
      constexpr DWORD kAddFile = FILE_ADD_FILE | GENERIC_WRITE | GENERIC_ALL;
      if ((allowed->Mask & kAddFile) != 0 && IsEverybody(&allowed->SidStart)) return true;
    }
    return false;
  }

 private:
  static bool IsRemote(HANDLE file) {
    FILE_REMOTE_PROTOCOL_INFO info = {};
    return GetFileInformationByHandleEx(file, FileRemoteProtocolInfo, &info, sizeof info) != 0;
  }

  static bool IsOneOf(PSID account, std::initializer_list<WELL_KNOWN_SID_TYPE> kinds) {
    for (const WELL_KNOWN_SID_TYPE kind : kinds) {
      if (IsWellKnownSid(account, kind) != 0) return true;
    }
    return false;
  }
  static bool IsEverybody(PSID account) {
    return IsOneOf(account, {WinWorldSid, WinAuthenticatedUserSid, WinBuiltinUsersSid, WinBuiltinGuestsSid,
                             WinAnonymousSid, WinInteractiveSid, WinNetworkSid});
  }
  // Everybody owns the files of file systems that know no owners.
  static bool IsTrusted(PSID owner) {
    if (IsOneOf(owner, {WinLocalSystemSid, WinBuiltinAdministratorsSid, WinWorldSid})) return true;
    return IsInstaller(owner) || IsOwnAccount(owner);
  }
  // The account that owns the system's own files.
  static bool IsInstaller(PSID owner) {
    PSID installer = nullptr;
    if (ConvertStringSidToSidA("S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", &installer) == 0) {
      return false;
    }
    const bool is_equal = EqualSid(owner, installer) != 0;
    LocalFree(installer);
    return is_equal;
  }
  static bool IsOwnAccount(PSID owner) {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == 0) return true;
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<char> user(size);
    const BOOL is_read = GetTokenInformation(token, TokenUser, user.data(), size, &size);
    CloseHandle(token);
    return is_read == 0 || EqualSid(owner, reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid) != 0;
  }

  PSECURITY_DESCRIPTOR descriptor_ = nullptr;  // Holds the two that follow.
  PSID owner_ = nullptr;
  PACL list_ = nullptr;
  bool is_known_ = false;
};

}  // namespace OrvWorkFlow::Base
