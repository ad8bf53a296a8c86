#include <archive_entry.h>
#include <locale.h>
#include <clocale>

#include "nodes/archive/EntryName.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

std::string TextOr(const char* text) { return text == nullptr ? std::string() : std::string(text); }

}  // namespace

EntryNameScope::EntryNameScope() : scope_(nullptr), before_(nullptr) {
  const locale_t scope = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (scope == nullptr) throw FileProblem("this system has no locale C.UTF-8, which names in archives need");
  scope_ = scope;
  before_ = ::uselocale(scope);
}

EntryNameScope::~EntryNameScope() {
  ::uselocale(static_cast<locale_t>(before_));
  ::freelocale(static_cast<locale_t>(scope_));
}

std::string StoredName(archive_entry* entry) { return TextOr(archive_entry_pathname(entry)); }

std::string StoredHardLink(archive_entry* entry) { return TextOr(archive_entry_hardlink(entry)); }

void StoreName(archive_entry* entry, const std::filesystem::path& name) {
  archive_entry_copy_pathname(entry, name.c_str());
}

std::filesystem::path LocalNameOf(const std::string& name_below) { return name_below; }

bool HoldsPart(const std::string& part) { return !NameOf(part).empty(); }

std::filesystem::path OwnNameOf(const std::filesystem::path& path) { return path.filename(); }

}  // namespace OrvWorkFlow::Nodes
