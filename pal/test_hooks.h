#pragma once

/// What tests may ask of this layer: what it has handed out and not got back, and to fail.

#include <string>

namespace pal {

struct LiveCounts {
  long handles;              ///< CreateFileW
  long modules;              ///< LoadLibraryW
  long com_initialisations;  ///< CoInitializeEx, of all threads
  long bstrs;
  long dom_objects;
  long blocks;  ///< GlobalAlloc, CoTaskMemAlloc and the texts of FormatMessageW
  long registry_keys;
  long printers;
  long certificates;
};

/// Negative counts are possible: what another module's copy of this layer made may be freed here.
LiveCounts CountLiveObjects();

/// The sum of all counts.
long LiveObjects();

/// The counts that are not 0, for a failure message: "2 bstrs, 1 modules", or "nothing".
std::string DescribeLiveObjects();

/// From now on the n-th call by this thread, counting from 1, of any function that can fail fails once, with
/// a code that it may really give. These are the functions and DOM methods that hand something out, open,
/// read or write; those that release are not among them. 0 calls it off. Sets FaultFired back.
void FailNthCall(int n);

/// The same, counting only the calls of one function: "LoadLibraryW", "IXMLDOMNode::get_text".
void FailNthCallOf(const char* function, int n);

/// True once the call that was to fail has failed.
bool FaultFired();

/// No call is to fail any more, and none has.
void ClearFaults();

}  // namespace pal
