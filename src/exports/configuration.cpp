// Finding and loading the configuration XML.

#include <algorithm>

#include "src/exports/module_paths.h"
#include "src/exports/request_context.h"
#include "src/text.h"

namespace custom_bidi {

DWORD CCustomBiDi::LoadConfigXml() {
  constexpr size_t kPathChars = 1024;
  WCHAR path[kPathChars] = {};
  if (GetModuleFullPath(path, kPathChars, false) != ERROR_SUCCESS) {
    // Two blanks after the colon.
    TraceLog(W(">>>>>Custom Bidi :  Get Current file name fail!!!"));
    return ERROR_PATH_NOT_FOUND;
  }

  // The extension gets no more room than the whole path leaves.
  const WStringView whole(path);
  const size_t room = kPathChars - whole.size();
  const size_t dot = std::min(whole.rfind(WCHAR{'.'}), whole.size());
  CopyText(std::span(path).subspan(dot, room), W(".xml"));

  return LoadXmlFile(path, configuration_);
}

DWORD CCustomBiDi::LoadXmlFile(const WCHAR* path, CCIXML& document) {
  if (document.Load(path) != ERROR_SUCCESS) {
    TraceLog(W(">>>>>Custom Bidi : Load Config XML fail!! [%s]"), path);
    return ERROR_INVALID_DATA;
  }
  if (!document.HasDocument()) {
    TraceLog(W(">>>>>Custom Bidi : Config XML is not valid!!!"));
    return ERROR_INVALID_DATA;
  }
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi
