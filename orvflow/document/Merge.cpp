#include "orvflow/document/Merge.h"

#include <algorithm>
#include <set>
#include <utility>

#include "orvflow/document/EntryContent.h"
#include "orvflow/document/EntryText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Id = Document::Id;

bool Contains(const Remarks& remarks, const std::string& remark) {
  return std::find(remarks.begin(), remarks.end(), remark) != remarks.end();
}

Remarks MergeRemarks(const Remarks& base, const Remarks& ours, const Remarks& theirs) {
  if (ours == theirs || base == theirs) return ours;
  if (base == ours) return theirs;
  Remarks merged = ours;
  for (const std::string& remark : theirs) {
    if (!Contains(ours, remark) && !Contains(base, remark)) merged.push_back(remark);
  }
  return merged;
}

// No comment holds its own end, and a text that is copied out of one is what it was.
std::string ForComment(std::string text) {
  for (std::size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at)) {
    text.replace(at + 1, 1, "&#45;");
  }
  return text;
}

class Merger {
 public:
  Merger(const Document& base, const Document& ours, const Document& theirs)
      : base_(base), ours_(ours), theirs_(theirs) {}

  MergeResult Run() {
    MergeEntry({Document::kRoot, Document::kRoot, Document::kRoot}, Document::kRoot, "");
    Document& merged = result_.document;
    merged.prolog = MergeRemarks(base_.prolog, ours_.prolog, theirs_.prolog);
    merged.epilog = MergeRemarks(base_.epilog, ours_.epilog, theirs_.epilog);
    return std::move(result_);
  }

 private:
  // The entry on each side; kNone where there is none.
  struct Sides {
    Id base = Document::kNone;
    Id ours = Document::kNone;
    Id theirs = Document::kNone;
  };

  static const Document::Element& ElementOf(const Document& document, Id id) {
    static const Document::Element kMissing;
    return id == Document::kNone ? kMissing : document.at(id);
  }
  Sides SidesBelow(const Sides& above, const std::string& name) const {
    const auto find = [&](const Document& document, Id parent) {
      return parent == Document::kNone ? Document::kNone : document.Find(parent, name);
    };
    return {find(base_, above.base), find(ours_, above.ours), find(theirs_, above.theirs)};
  }

  // `merged` is the element that both have become.
  void MergeEntry(const Sides& sides, Id merged, const std::string& path) {
    const Document::Element& base = ElementOf(base_, sides.base);
    const Document::Element& ours = ours_.at(sides.ours);
    const Document::Element& theirs = theirs_.at(sides.theirs);
    Document::Element& element = At(merged);
    element.text = ours.text;
    element.attributes = ours.attributes;
    element.before = MergeRemarks(base.before, ours.before, theirs.before);
    element.behind = MergeRemarks(base.behind, ours.behind, theirs.behind);
    element.last = MergeRemarks(base.last, ours.last, theirs.last);
    MergeValue(sides, merged, path);
    MergeAttributes(sides, merged, path);
    MergeChildren(sides, merged, path);
  }

  void MergeValue(const Sides& sides, Id merged, const std::string& path) {
    const EntryValue ours = ValueOf(ours_, sides.ours);
    const EntryValue theirs = ValueOf(theirs_, sides.theirs);
    const bool is_in_base = sides.base != Document::kNone;
    const EntryValue base = is_in_base ? ValueOf(base_, sides.base) : EntryValue();
    const bool takes_theirs = ours != theirs && is_in_base && base == ours;
    const bool is_conflict = ours != theirs && !takes_theirs && (!is_in_base || base != theirs);
    const Document& source = takes_theirs ? theirs_ : ours_;
    const Id from = takes_theirs ? sides.theirs : sides.ours;
    if (takes_theirs) {
      At(merged).text = source.at(from).text;
      GiveAttribute(merged, kTypeAttribute, AttributeOf(source.at(from).attributes, kTypeAttribute));
    }
    const Id holder = source.Find(from, kListHolder);
    if (holder != Document::kNone) result_.document.CopyFrom(source, holder, merged);
    if (!is_conflict) return;
    Report(path, is_in_base ? ShownValue(base) : "none", ShownValue(ours), ShownValue(theirs));
    Remark(RemarksAbove(merged), path, "ours is below", Rendered(base_, sides.base), Rendered(theirs_, sides.theirs));
  }

  // What is not the type, each by its name.
  void MergeAttributes(const Sides& sides, Id merged, const std::string& path) {
    const auto ours = ContentOf(ours_, sides.ours).attributes;
    const auto theirs = ContentOf(theirs_, sides.theirs).attributes;
    const bool is_in_base = sides.base != Document::kNone;
    const auto base = is_in_base ? ContentOf(base_, sides.base).attributes : decltype(ours)();
    if (ours == theirs) return;
    std::set<std::string> names;
    for (const auto* side : {&base, &ours, &theirs}) {
      for (const auto& [name, value] : *side) names.insert(name);
    }
    const auto value_of = [](const auto& side, const std::string& name) {
      const auto found = side.find(name);
      return found == side.end() ? std::nullopt : std::optional(found->second);
    };
    for (const std::string& name : names) {
      const std::optional<std::string> one = value_of(base, name);
      const std::optional<std::string> our = value_of(ours, name);
      const std::optional<std::string> their = value_of(theirs, name);
      if (our == their || one == their) continue;
      if (one == our) {
        GiveAttribute(merged, name, their);
        continue;
      }
      const auto shown = [&](const std::optional<std::string>& value) {
        return Visible(name) + (value ? "=" + ShownText(*value) : " missing");
      };
      Report(path, shown(one), shown(our), shown(their));
      Remark(RemarksAbove(merged), path, "the attribute of ours is below", shown(one), shown(their));
    }
  }

  void MergeChildren(const Sides& sides, Id merged, const std::string& path) {
    for (const std::string& name : MergedOrder(sides, merged, path)) {
      const Sides below = SidesBelow(sides, name);
      const std::string child_path = path + "/" + name;
      if (below.ours != Document::kNone && below.theirs != Document::kNone) {
        const Id child = result_.document.AddChild(merged, name);
        MergeEntry(below, child, child_path);
        TakePending(child);
      } else {
        MergeOneSided(below, merged, child_path);
      }
    }
    At(merged).last.insert(At(merged).last.begin(), pending_.begin(), pending_.end());
    pending_.clear();
  }

  // On one side it was added, or on the other one removed.
  void MergeOneSided(const Sides& sides, Id parent, const std::string& path) {
    const bool is_ours = sides.ours != Document::kNone;
    const Document& side = is_ours ? ours_ : theirs_;
    const Id id = is_ours ? sides.ours : sides.theirs;
    if (id == Document::kNone) return;
    const bool is_added = sides.base == Document::kNone;
    if (!is_added && HaveSameContent(base_, sides.base, side, id)) return;
    Id child = Document::kNone;
    if (is_added || is_ours) {
      child = result_.document.CopyFrom(side, id, parent);
      TakePending(child);
    }
    if (is_added) return;
    const char* const changed = "changed, itself or below it";
    Report(path, ShownValue(ValueOf(base_, sides.base)), is_ours ? changed : "removed", is_ours ? "removed" : changed);
    Remark(is_ours ? At(child).before : pending_, path, is_ours ? "ours is below" : "ours has removed it",
           Rendered(base_, sides.base), is_ours ? "removed" : Rendered(theirs_, sides.theirs));
  }

  // The names of all entries below, in the order in which they are to stand. Those that all three have stand in the
  // order of the side that changed it.
  std::vector<std::string> MergedOrder(const Sides& sides, Id merged, const std::string& path) {
    const std::vector<std::string> ours = NamesBelow(ours_, sides.ours);
    const std::vector<std::string> theirs = NamesBelow(theirs_, sides.theirs);
    const std::vector<std::string> our_order = Common(ours, theirs);
    const std::vector<std::string> their_order = Common(theirs, ours);
    if (our_order == their_order) return Inserted(ours, theirs);
    const std::vector<std::string> base = NamesBelow(base_, sides.base);
    const std::vector<std::string> in_base = Common(base, Common(ours, theirs));
    const bool is_ours_changed = in_base != Common(our_order, base);
    const bool is_theirs_changed = in_base != Common(their_order, base);
    if (!is_ours_changed && is_theirs_changed) return Inserted(theirs, ours);
    if (is_ours_changed && is_theirs_changed && Common(our_order, base) != Common(their_order, base)) {
      Report(path, "order " + Joined(in_base), "order " + Joined(our_order), "order " + Joined(their_order));
      Remark(RemarksAbove(merged), path, "ours is the order of entries below", Joined(in_base), Joined(their_order));
    }
    return Inserted(ours, theirs);
  }

  static std::vector<std::string> NamesBelow(const Document& document, Id id) {
    std::vector<std::string> names;
    if (id == Document::kNone) return names;
    for (const Id child : EntriesOf(document, id)) names.push_back(document.at(child).name);
    return names;
  }
  // Those of `names` that `others` has, too.
  static std::vector<std::string> Common(const std::vector<std::string>& names,
                                         const std::vector<std::string>& others) {
    const std::set<std::string> known(others.begin(), others.end());
    std::vector<std::string> common;
    std::copy_if(names.begin(), names.end(), std::back_inserter(common),
                 [&](const std::string& name) { return known.contains(name); });
    return common;
  }
  // `names` with those that only `others` has, each behind the one that it follows there; the first ones ahead of the
  // one that follows them.
  static std::vector<std::string> Inserted(const std::vector<std::string>& names,
                                           const std::vector<std::string>& others) {
    const std::set<std::string> known(names.begin(), names.end());
    std::map<std::string, std::vector<std::string>> behind;
    std::string anchor;
    std::string first;
    for (const std::string& name : others) {
      if (known.contains(name)) {
        anchor = name;
        if (first.empty()) first = name;
      } else {
        behind[anchor].push_back(name);
      }
    }
    std::vector<std::string> all;
    const auto append = [&](const std::string& key) {
      const auto found = behind.find(key);
      if (found != behind.end()) all.insert(all.end(), found->second.begin(), found->second.end());
    };
    for (const std::string& name : names) {
      if (name == first) append("");
      all.push_back(name);
      append(name);
    }
    if (first.empty()) append("");
    return all;
  }
  static std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + Visible(name);
    return text;
  }

  void GiveAttribute(Id id, const std::string& name, const std::optional<std::string>& value) {
    AttributePairs pairs = PairsOf(At(id).attributes);
    const auto found = std::find_if(pairs.begin(), pairs.end(), [&](const auto& pair) { return pair.first == name; });
    if (!value) {
      std::erase_if(pairs, [&](const auto& pair) { return pair.first == name; });
    } else if (found == pairs.end()) {
      pairs.emplace_back(name, *value);
    } else {
      found->second = *value;
    }
    At(id).attributes = TextOfPairs(pairs);
  }

  static std::string Rendered(const Document& document, Id id) {
    return id == Document::kNone ? "none" : CanonicalText(document, id, "             ");
  }

  // Comments about what ours has removed stand above the entry that follows.
  void TakePending(Id child) {
    At(child).before.insert(At(child).before.begin(), pending_.begin(), pending_.end());
    pending_.clear();
  }

  void Report(const std::string& path, const std::string& base, const std::string& ours, const std::string& theirs) {
    result_.conflicts.push_back(
        {path.empty() ? "/" : path, "base: " + base + "; ours: " + ours + "; theirs: " + theirs});
  }
  static void Remark(Remarks& remarks, const std::string& path, const std::string& where, const std::string& base,
                     const std::string& theirs) {
    remarks.push_back(
        kConflictMark +
        ForComment((path.empty() ? "/" : path) + ": " + where + "\n     base:   " + base + "\n     theirs: " + theirs) +
        " -->");
  }

  // Above the root a comment would end at its first ">": there it stands above the first entry.
  Remarks& RemarksAbove(Id id) { return id == Document::kRoot ? pending_ : At(id).before; }
  Document::Element& At(Id id) { return result_.document.at(id); }

  const Document& base_;
  const Document& ours_;
  const Document& theirs_;
  MergeResult result_;
  Remarks pending_;
};

}  // namespace

MergeResult Merge(const Document& base, const Document& ours, const Document& theirs) {
  return Merger(base, ours, theirs).Run();
}

}  // namespace OrvWorkFlow::Program
