#include "filesystem/DirectoryWalk.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

bool IsDone(bool result) { return result; }
bool IsDone(System::SystemResult result) { return result == System::SystemResult::Ok; }

System::SystemResult ListIn(const SystemCalls<char>& /*calls*/, const OpenedTree<char>& tree,
                            const std::string& directory, System::EntryList<char>* entries) {
  return tree.trees().List(tree.handle(), directory, entries);
}
System::SystemResult ListIn(const SystemCalls<char16_t>& /*calls*/, const OpenedTree<char16_t>& tree,
                            const std::u16string& directory, System::EntryList<char16_t>* entries) {
  return tree.trees().List(tree.handle(), directory, entries);
}
System::SystemResult ListIn(const SystemCalls<char16_t>& calls, const OpenedTree<char>& tree,
                            const std::string& directory, System::EntryList<char16_t>* entries) {
  System::EntryList<char> narrow;
  const System::SystemResult result = tree.trees().List(tree.handle(), directory, &narrow);
  if (result != System::SystemResult::Ok) return result;
  entries->Clear();
  for (std::size_t i = 0; i < narrow.size(); ++i) {
    std::u16string name;
    if (!calls.platform().code_page.Widen(narrow.name(i), &name)) return System::SystemResult::Failed;
    entries->Add(name, narrow.attributes(i));
  }
  std::u16string left_out;
  if (calls.platform().code_page.Widen(narrow.first_left_out(), &left_out)) entries->LeaveOut(left_out);
  return System::SystemResult::Ok;
}

}  // namespace

template <class Char>
bool FirstMatch(const SystemCalls<Char>& calls, const std::basic_string<Char>& path, std::uint32_t* attributes) {
  return calls.Try([=](auto& part, const auto& p) { return part.directories.FindFirst(p, attributes); }, path);
}

template <class Char>
bool IsDirectory(const SystemCalls<Char>& calls, const std::basic_string<Char>& path) {
  std::uint32_t attributes = 0;
  if (!FirstMatch(calls, path, &attributes)) return false;
  if ((attributes & System::FileAttribute::kDirectory) != 0) return true;
  calls.platform().reasons.SetLastCode(System::RefusalCode(System::Reason::NotFound));
  return false;
}

template <class Char>
System::SystemResult Tree<Char>::Open(const Text& root, System::TreeUse use) {
  root_ = root;
  use_ = use;
  opened_ = own_.Open(root_, use_);
  if (opened_ == System::SystemResult::Ok) return opened_;
  const System::KeptReason kept(calls_.platform().reasons);
  if (OpenNarrow()) opened_ = System::SystemResult::Ok;
  return opened_;
}

template <class Char>
bool Tree<Char>::OpenNarrow() {
  if constexpr (sizeof(Char) == 1) {
    return false;
  } else {
    if (narrow_.IsOpen()) return true;
    std::string root;
    return calls_.NarrowExactly(root_, &root) && narrow_.Open(root, use_) == System::SystemResult::Ok;
  }
}

template <class Char>
template <class Call>
auto Tree<Char>::Try(const Call& call, const Text& path) {
  using Result = decltype(call(own_, path));
  Result result{};
  if constexpr (std::is_same_v<Result, System::SystemResult>) result = System::SystemResult::Failed;
  if (own_.IsOpen()) result = call(own_, path);
  if constexpr (sizeof(Char) > 1) {
    if (IsDone(result)) return result;
    const System::KeptReason kept(calls_.platform().reasons);
    std::string narrow;
    if (calls_.NarrowExactly(path, &narrow) && OpenNarrow()) result = call(narrow_, narrow);
  }
  return result;
}

template <class Char>
System::SystemResult Tree<Char>::List(const Text& directory, System::EntryList<Char>* entries) {
  if (opened_ != System::SystemResult::Ok) return opened_;
  return Try([&](auto& tree, const auto& path) { return ListIn(calls_, tree, path, entries); }, directory);
}

template <class Char>
bool Tree<Char>::SetAttributes(const Text& path, std::uint32_t attributes) {
  return Try([=](auto& tree, const auto& p) { return tree.trees().SetAttributesIn(tree.handle(), p, attributes); },
             path);
}

template <class Char>
System::SystemResult Tree<Char>::RemoveFile(const Text& path) {
  return Try(
      [](auto& tree, const auto& p) { return tree.trees().RemoveFileIn(tree.handle(), p, System::Mark::Ignored); },
      path);
}

template <class Char>
bool Tree<Char>::RemoveDirectory(const Text& path) {
  return Try(
      [](auto& tree, const auto& p) { return tree.trees().RemoveDirectoryIn(tree.handle(), p, System::Mark::Ignored); },
      path);
}

template <class Char>
System::SystemResult Tree<Char>::CreateDirectory(const Text& path) {
  return Try([](auto& tree, const auto& p) { return tree.trees().CreateDirectoryIn(tree.handle(), p); }, path);
}

template <class Char>
std::vector<bool> Tree<Char>::FindDoubles(const System::EntryList<Char>& entries) {
  std::vector<bool> doubles(entries.size());
  if (own_.IsOpen()) own_.trees().FindDoubles(own_.handle(), entries, &doubles);
  return doubles;
}

template <class Char>
System::SystemResult Tree<Char>::CopyTo(Tree& other, const Text& path, bool fail_if_exists, std::uint32_t listed) {
  const auto copy = [&](auto& tree, const auto& p) {
    if constexpr (std::is_same_v<decltype(tree), OpenedTree<Char>&>) {
      if (!other.own_.IsOpen()) return System::SystemResult::Failed;
      return tree.trees().CopyIn(tree.handle(), other.own_.handle(), p, fail_if_exists, listed);
    } else {
      if (!other.OpenNarrow()) return System::SystemResult::Failed;
      return tree.trees().CopyIn(tree.handle(), other.narrow_.handle(), p, fail_if_exists, listed);
    }
  };
  return Try(copy, path);
}

template <class Char>
WalkResult WalkTree(Tree<Char>& tree, const TreeVisitor<Char>& visitor, const GapVisitor<Char>& gaps) {
  WalkResult result = WalkResult::Whole;
  std::vector<std::basic_string<Char>> waiting(1);  // The root; of the others the next one last.
  while (!waiting.empty()) {
    Listing<Char> listing{std::move(waiting.back()), {}};
    waiting.pop_back();
    const System::SystemResult listed = tree.List(listing.start, &listing.entries);
    if (listed != System::SystemResult::Ok) {
      gaps.closed(listing.start);
      const bool closed = listed == System::SystemResult::NotFound || listed == System::SystemResult::Denied;
      if (!closed || result == WalkResult::Whole) result = closed ? WalkResult::Skipped : WalkResult::Broken;
      continue;
    }
    if (!listing.start.empty()) listing.start += Char{'\\'};
    if (!listing.entries.first_left_out().empty()) {
      gaps.unnameable(std::basic_string<Char>(listing.start).append(listing.entries.first_left_out()));
      if (result == WalkResult::Whole) result = WalkResult::Skipped;
    }
    for (std::size_t i = listing.entries.size(); i-- > 0;) {
      if (listing.entries.IsDirectory(i) && !listing.entries.IsLink(i)) waiting.push_back(listing.PathOf(i));
    }
    if (!visitor(std::move(listing))) return WalkResult::Broken;
  }
  return result;
}

template class Tree<char>;
template class Tree<char16_t>;
template bool FirstMatch(const SystemCalls<char>&, const std::string&, std::uint32_t*);
template bool FirstMatch(const SystemCalls<char16_t>&, const std::u16string&, std::uint32_t*);
template bool IsDirectory(const SystemCalls<char>&, const std::string&);
template bool IsDirectory(const SystemCalls<char16_t>&, const std::u16string&);
template WalkResult WalkTree(Tree<char>&, const TreeVisitor<char>&, const GapVisitor<char>&);
template WalkResult WalkTree(Tree<char16_t>&, const TreeVisitor<char16_t>&, const GapVisitor<char16_t>&);

}  // namespace OrvWorkFlow::Core::FileSystem
