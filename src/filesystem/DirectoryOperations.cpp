// The operations on directories and trees.
#include <algorithm>

#include "CoreObjects/Marshalled.h"
#include "filesystem/Operations.h"
#include "filesystem/PathText.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Makes the directories that lead to a listing's entries.
template <class Char>
bool MakeDirectories(Tree<Char>& tree, const std::basic_string<Char>& start) {
  for (std::size_t end = start.find(Char{'\\'}); end != start.npos; end = start.find(Char{'\\'}, end + 1)) {
    const System::SystemResult made = tree.CreateDirectory(start.substr(0, end));
    if (made != System::SystemResult::Ok && made != System::SystemResult::Exists) return false;
  }
  return true;
}

template <class Char>
bool HasFiles(const Listing<Char>& listing) {
  for (std::size_t i = 0; i < listing.entries.size(); ++i) {
    if (!listing.entries.IsDirectory(i)) return true;
  }
  return false;
}

}  // namespace

template <class Char>
bool Operations<Char>::MakeDirectory(const Char* path) {
  Text platform_path;
  return Resolve(path, &platform_path) && content_.MakeDirectory(platform_path);
}

template <class Char>
bool Operations<Char>::DirectoryExists(const Char* path) {
  Text platform_path;
  return Resolve(path, &platform_path) && (IsDirectory(calls_, platform_path) || parts_.hook.Note());
}

template <class Char>
GapVisitor<Char> Operations<Char>::NoteGaps(const Tree<Char>& tree) {
  return {[&](const Text& directory) { parts_.hook.NoteAt(tree.PathOf(directory)); },
          [&](const Text& path) { parts_.hook.NoteAt(System::Reason::InvalidName, tree.PathOf(path)); }};
}

template <class Char>
WalkResult Operations<Char>::CollectTree(Tree<Char>& tree, std::vector<Listing<Char>>* listings) {
  const auto visit = [&](Listing<Char>&& listing) {
    listings->push_back(std::move(listing));
    return !parts_.stopping || parts_.hook.Note(System::Reason::Stopped);
  };
  return WalkTree<Char>(tree, visit, NoteGaps(tree));
}

template <class Char>
bool Operations<Char>::DeleteDirectory(const Char* path) {
  Text root;
  std::uint32_t attributes = 0;
  if (!Resolve(path, &root)) return false;
  if (calls_.IsRoot(root)) return parts_.hook.ReportAt(Failures::kCannotDeleteDirectory, System::Reason::Root, root);
  if (!FirstMatch(calls_, root, &attributes) || (attributes & System::FileAttribute::kDirectory) == 0) return true;
  if ((attributes & System::FileAttribute::kLink) != 0) return RemoveDirectoryItself(root);
  bool deleted = false;
  {  // The tree is closed before its root goes.
    Tree<Char> tree(calls_);
    tree.Open(root, System::TreeUse::Remove);
    std::vector<Listing<Char>> listings;
    deleted = CollectTree(tree, &listings) != WalkResult::Broken;
    for (const Listing<Char>& listing : listings) {
      for (std::size_t i = 0; i < listing.entries.size(); ++i) {
        if (parts_.stopping) return parts_.hook.Note(System::Reason::Stopped);
        if (!listing.entries.IsDirectory(i)) deleted = RemoveFileOf(tree, listing.PathOf(i)) && deleted;
      }
    }
    // From the end, so that a directory comes after the directories in it.
    for (auto listing = listings.rbegin(); listing != listings.rend(); ++listing) {
      for (std::size_t i = listing->entries.size(); i-- > 0;) {
        if (!listing->entries.IsDirectory(i)) continue;
        deleted = RemoveDirectoryOf(tree, listing->PathOf(i)) && deleted;
      }
    }
  }
  return RemoveDirectoryItself(root) && deleted;
}

template <class Char>
bool Operations<Char>::RemoveDirectoryItself(const Text& path) {
  return calls_.RemoveOneDirectory(path) || Fail(Failures::kCannotDeleteDirectory);
}

// A file that is gone already is no failure.
template <class Char>
bool Operations<Char>::RemoveFileOf(Tree<Char>& tree, const Text& path) {
  const System::SystemResult removed = tree.RemoveFile(path);
  return removed == System::SystemResult::Ok || removed == System::SystemResult::NotFound ||
         FailAt(Failures::kCannotDeleteFile, tree.PathOf(path));
}

template <class Char>
bool Operations<Char>::RemoveDirectoryOf(Tree<Char>& tree, const Text& path) {
  return tree.RemoveDirectory(path) || FailAt(Failures::kCannotDeleteDirectory, tree.PathOf(path));
}

template <class Char>
bool Operations<Char>::OpenListed(const Char* path, const Failure& no_directory, Tree<Char>* tree,
                                  ListedPath<Char>* listed) {
  if (path == nullptr) return Fail(Failures::kInvalidParameter);
  const Text trimmed(Trimmed(std::basic_string_view<Char>(path)));
  Text root;
  if (!Resolve(trimmed.c_str(), &root)) return false;
  if (!IsBareDrive<Char>(root) && !IsDirectory(calls_, root)) return Fail(no_directory);
  // A drive that is not there holds nothing; neither does what cannot be entered.
  const bool refused =
      tree->Open(root, System::TreeUse::Read) == System::SystemResult::Denied && IsBareDrive<Char>(root);
  if (refused) return Fail(no_directory);
  *listed = IsWorkflowPath<Char>(trimmed) ? ListedPath<Char>(trimmed, Char{'/'}) : ListedPath<Char>(root, Char{'\\'});
  return true;
}

template <class Char>
bool Operations<Char>::ListTree(const Char* path, const Failure& no_directory, StringList* output, bool files) {
  if (output == nullptr) return Fail(Failures::kInvalidParameter);
  Tree<Char> tree(calls_);
  ListedPath<Char> listed;
  // The output is touched when all is known.
  std::vector<Listing<Char>> listings;
  if (!OpenListed(path, no_directory, &tree, &listed) || CollectTree(tree, &listings) == WalkResult::Broken) {
    return false;
  }
  parts_.hook.NoteLeftOut();
  return FillTexts(output, [&](const auto& add) {
    for (const Listing<Char>& listing : listings) {
      for (std::size_t i = 0; i < listing.entries.size(); ++i) {
        if (listing.entries.IsDirectory(i) != files && !add(listed.Of(listing, i))) return false;
      }
    }
    return true;
  });
}

template <class Char>
bool Operations<Char>::ListFiles(const Char* path, StringList* files) {
  return ListTree(path, Failures::kNoDirectoryForFiles, files, true);
}

template <class Char>
bool Operations<Char>::ListDirectories(const Char* path, StringList* directories) {
  return ListTree(path, Failures::kNoDirectoryForDirectories, directories, false);
}

template <class Char>
bool Operations<Char>::NotifyOfTree(const Char* path, const Failure& no_directory, bool files,
                                    const std::function<bool(const Char*)>& notify) {
  Tree<Char> tree(calls_);
  ListedPath<Char> listed;
  const auto visit = [&](const Listing<Char>& listing) {
    for (std::size_t i = 0; i < listing.entries.size(); ++i) {
      if (parts_.stopping) return parts_.hook.Note(System::Reason::Stopped);
      if (listing.entries.IsDirectory(i) == files) continue;
      if (!notify(listed.Of(listing, i).c_str())) return parts_.hook.Note(System::Reason::Stopped);
    }
    return true;
  };
  if (!OpenListed(path, no_directory, &tree, &listed) ||
      WalkTree<Char>(tree, visit, NoteGaps(tree)) == WalkResult::Broken) {
    return false;
  }
  parts_.hook.NoteLeftOut();
  return true;
}

template <class Char>
bool Operations<Char>::NotifyFiles(const Char* path, Notification& notification) {
  return NotifyOfTree(path, Failures::kNoDirectoryForFiles, true,
                      [&](const Char* entry) { return notification.FileFound(entry); });
}

template <class Char>
bool Operations<Char>::NotifyDirectories(const Char* path, Notification& notification) {
  return NotifyOfTree(path, Failures::kNoDirectoryForDirectories, false,
                      [&](const Char* entry) { return notification.DirectoryFound(entry); });
}

template <class Char>
bool Operations<Char>::CopyDirectory(const Char* source, const Char* destination, bool overwrite) {
  Text to;
  Tree<Char> tree(calls_);
  ListedPath<Char> listed;
  if (!Resolve(destination, &to) || !OpenListed(source, Failures::kNoDirectoryForFiles, &tree, &listed)) return false;
  // All is known before the first file is copied: the destination may lie in the source.
  std::vector<Listing<Char>> listings;
  bool copied = CollectTree(tree, &listings) == WalkResult::Whole || Fail(Failures::kCopyFailed);
  copied = FailLinksToFolders(tree, listings) && copied;
  if (std::none_of(listings.begin(), listings.end(), HasFiles<Char>)) return copied;
  Tree<Char> target(calls_);
  if (!content_.MakeDirectory(to)) return false;
  if (target.Open(to, System::TreeUse::Fill) != System::SystemResult::Ok)
    return FailAt(Failures::kCannotCreateDirectory, to);
  return CopyListings(tree, target, listings, overwrite) && copied;
}

// Those below are not copied.
template <class Char>
bool Operations<Char>::FailLinksToFolders(const Tree<Char>& tree, const std::vector<Listing<Char>>& listings) {
  bool none = true;
  for (const Listing<Char>& listing : listings) {
    for (std::size_t i = 0; i < listing.entries.size(); ++i) {
      if (!listing.entries.IsDirectory(i) || !listing.entries.IsLink(i)) continue;
      none = parts_.hook.ReportAt(Failures::kCopyFailed, System::Reason::LinkToFolder, tree.PathOf(listing.PathOf(i)));
    }
  }
  return none;
}

template <class Char>
bool Operations<Char>::CopyListings(Tree<Char>& from, Tree<Char>& to, const std::vector<Listing<Char>>& listings,
                                    bool overwrite) {
  bool copied = true;
  std::vector<Text> merged;  // Directories that would become one with another: with a separator behind.
  for (const Listing<Char>& listing : listings) {
    const std::vector<bool> doubles = to.FindDoubles(listing.entries);
    for (std::size_t i = 0; i < doubles.size(); ++i) {
      if (doubles[i] && listing.entries.IsDirectory(i)) merged.push_back(listing.PathOf(i).append(1, Char{'\\'}));
    }
    if (!HasFiles(listing)) continue;
    if (parts_.stopping) return parts_.hook.Note(System::Reason::Stopped);
    const bool is_merged =
        std::any_of(merged.begin(), merged.end(), [&](const Text& start) { return listing.start.starts_with(start); });
    if (is_merged) {
      copied = parts_.hook.ReportAt(Failures::kCopyFailed, System::Reason::SameName, from.PathOf(listing.start));
    } else if (!MakeDirectories(to, listing.start)) {
      copied = FailAt(Failures::kCannotCreateDirectory, to.PathOf(listing.start));
    } else {
      copied = CopyListing(from, to, listing, doubles, overwrite) && copied;
    }
  }
  return copied;
}

template <class Char>
bool Operations<Char>::CopyListing(Tree<Char>& from, Tree<Char>& to, const Listing<Char>& listing,
                                   const std::vector<bool>& doubles, bool overwrite) {
  bool copied = true;
  Text path;
  for (std::size_t i = 0; i < listing.entries.size(); ++i) {
    if (parts_.stopping) return parts_.hook.Note(System::Reason::Stopped);
    if (listing.entries.IsDirectory(i)) continue;
    path.assign(listing.start).append(listing.entries.name(i));
    if (doubles[i]) {
      copied = parts_.hook.ReportAt(Failures::kCopyFailed, System::Reason::SameName, from.PathOf(path));
    } else {
      copied = CopyFileOf(from, to, path, listing.entries.attributes(i), overwrite) && copied;
    }
  }
  return copied;
}

// The mark of a file that is in the way goes before the copy over it is tried, and also when there will be none.
template <class Char>
bool Operations<Char>::CopyFileOf(Tree<Char>& from, Tree<Char>& to, const Text& path, std::uint32_t listed,
                                  bool overwrite) {
  System::SystemResult copied = from.CopyTo(to, path, true, listed);
  if (copied == System::SystemResult::Exists) {
    {
      const System::KeptReason kept(parts_.platform.reasons);
      to.SetAttributes(path, System::FileAttribute::kNormal);
    }
    if (overwrite) copied = from.CopyTo(to, path, false, listed);
  }
  return copied == System::SystemResult::Ok || FailCopy(from.PathOf(path), to.PathOf(path));
}

template bool Operations<char>::MakeDirectory(const char*);
template bool Operations<char16_t>::MakeDirectory(const char16_t*);
template bool Operations<char>::DirectoryExists(const char*);
template bool Operations<char16_t>::DirectoryExists(const char16_t*);
template bool Operations<char>::DeleteDirectory(const char*);
template bool Operations<char16_t>::DeleteDirectory(const char16_t*);
template GapVisitor<char> Operations<char>::NoteGaps(const Tree<char>&);
template GapVisitor<char16_t> Operations<char16_t>::NoteGaps(const Tree<char16_t>&);
template bool Operations<char>::ListFiles(const char*, StringList*);
template bool Operations<char16_t>::ListFiles(const char16_t*, StringList*);
template bool Operations<char>::ListDirectories(const char*, StringList*);
template bool Operations<char16_t>::ListDirectories(const char16_t*, StringList*);
template bool Operations<char>::NotifyFiles(const char*, Notification&);
template bool Operations<char16_t>::NotifyFiles(const char16_t*, Notification&);
template bool Operations<char>::NotifyDirectories(const char*, Notification&);
template bool Operations<char16_t>::NotifyDirectories(const char16_t*, Notification&);
template bool Operations<char>::CopyDirectory(const char*, const char*, bool);
template bool Operations<char16_t>::CopyDirectory(const char16_t*, const char16_t*, bool);

}  // namespace OrvWorkFlow::Core::FileSystem
