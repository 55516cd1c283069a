#include "base/xml_functions.h"

namespace base {
namespace {

/// libxml2's tables are made by one thread, before any other can have the functions.
class PreparedFunctions : public XmlFunctions {
 public:
  PreparedFunctions() : XmlFunctions("libxml2.so.2") {
    if (*this) {
      Call<&::xmlInitParser>();
    }
  }
};

}  // namespace

const XmlFunctions* TheXmlFunctions() {
  return BoundOnce<PreparedFunctions>();
}

}  // namespace base
