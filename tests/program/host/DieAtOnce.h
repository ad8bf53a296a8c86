// An end as a kill is one: nothing is flushed, nothing is called.
#pragma once

namespace orv_test {

[[noreturn]] void DieAtOnce();

}  // namespace orv_test
