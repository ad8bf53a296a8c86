// Narrow text and wide text of one another, through the platform's code page (UTF-8 on Linux).
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Core::System {

// Any thread. False leaves the output as it was.
class CodePage {
 public:
  // False when the bytes are no text of the code page.
  virtual bool Widen(std::string_view narrow, std::u16string* wide) = 0;
  // The same for a path: control characters become the pictures that some code pages have in their place.
  virtual bool WidenPath(std::string_view narrow, std::u16string* wide) = 0;
  // `*exact` (may be null) tells whether widening the result gives `wide` again: a code page that lacks a character
  // puts a similar one or "?" in its place. False when the text cannot be converted at all (an unpaired surrogate in
  // UTF-8).
  virtual bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) = 0;

 protected:
  ~CodePage() = default;
};

}  // namespace OrvWorkFlow::Core::System
