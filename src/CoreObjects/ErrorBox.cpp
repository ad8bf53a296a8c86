#include "CoreObjects/ErrorBox.h"

#include <string>

#include "OrvWorkFlow/MessageBoxes.h"

namespace OrvWorkFlow::Core {

void ShowErrorBox(std::string_view text, std::size_t stops) noexcept {
  try {
    std::string whole(text);
    whole.append(stops, '.');
    ShowMessageBox(whole.c_str(), kBoxCaption);
  } catch (...) {
    ShowMessageBox("Out of memory.", kBoxCaption);
  }
}

}  // namespace OrvWorkFlow::Core
