#pragma once

/// What tests may ask of this layer: what it has handed out and not got back, and to fail.

#include <string>

namespace pal {

/// How much is out: files, modules, COM initialisations of all threads, BSTRs, DOM objects, blocks (also the
/// texts of FormatMessageW), registry keys, printers and certificates. It can be negative: what another
/// module's copy of this layer made may be freed here.
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
