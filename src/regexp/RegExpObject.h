// This folder holds the utility object "RegExp". Now: the base protocol.
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IRegExp.h"

namespace OrvWorkFlow {

class CRegExp final : public BaseObject<CRegExp, IRegExp> {
 public:
  // The one object whose type name is that of its interface.
  static constexpr const char* kTypeName = InterfaceNames::kRegExp;

  void* QueryInterface(const char* interface_name) override;
  bool LoadState(const char* /*path*/) override { return true; }
  bool SaveState(const char* /*path*/) override { return true; }
};

using CRegExpObjectCreator = ObjectCreator<CRegExp, ObjectNames::kRegExp>;

}  // namespace OrvWorkFlow
