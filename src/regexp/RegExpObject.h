// This folder holds the matcher of patterns (Pattern.h is its door; pattern -> Compiler -> Program -> Plan -> Matcher)
// and the utility object "RegExp". The matcher is a library of its own: the runtime and the dictionary's listeners use
// it too.
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IRegExp.h"

namespace OrvWorkFlow::Core::Patterns {

class CRegExp final : public BaseObject<CRegExp, IRegExp> {
 public:
  // The one object whose type name is that of its interface.
  static constexpr const char* kTypeName = InterfaceNames::kRegExp;

  void* QueryInterface(const char* interface_name) override;
  bool GetLastErrorText(IOrvPString* text) override;
  bool LoadState(const char* /*path*/) override { return true; }
  bool SaveState(const char* /*path*/) override { return true; }

  bool MatchWide(const char16_t* text, const char16_t* pattern) override;
  bool MatchNarrow(const char* text, const char* pattern) override;
};

using CRegExpObjectCreator = ObjectCreator<CRegExp, ObjectNames::kRegExp>;

}  // namespace OrvWorkFlow::Core::Patterns
