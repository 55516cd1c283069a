#pragma once

#include "src/xml/dom_ptr.h"

namespace custom_bidi {

/// Makes an empty DOM document of the newest class that the system has; null, with a trace line for each
/// class tried, when it has none.
ComPtr<IXMLDOMDocument3> CreateDomDocument();

}  // namespace custom_bidi
