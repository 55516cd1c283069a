#pragma once

/// The trace file as a test reads it, and the lines that a test expects in it.

#include <string>
#include <string_view>
#include <vector>

namespace custom_bidi_test {

/// Messages of the trace, without stamp and line end, as UTF-8. A message may have line ends of its own.
using Lines = std::vector<std::string>;

Lines operator+(Lines left, const Lines& right);

/// Stands for any text in an expected line: what the platform words as it likes.
inline constexpr char kAnything[] = "{*}";

/// Compares line by line; the failure message shows where they differ.
void ExpectTrace(const Lines& expected, const Lines& actual);

/// The first lines, up to and with the first one that begins with `start`.
Lines UpTo(const Lines& lines, std::string_view start);

/// `Name << Enter`, the lines in between, `Name >> Leave`.
Lines Method(const std::string& name, const Lines& inner = {});

/// The line for a Win32 code: the system's text headed by the label.
Lines ErrorLine(unsigned code, const std::string& label);

/// Reads a trace file, which need not exist, as UTF-16LE without a byte-order mark. Fails the test for a line
/// without a stamp in the form [hh:mm:ss.mmm] and two blanks, and for a file that does not end with CR LF.
Lines ReadTrace(const std::string& path);

// What a call traces when all goes well, for a printer at 192.0.2.10 whose libraries have their default
// names.

/// A queue on the port `port`; empty: without one, so that the printer is known by the queue's name.
Lines BidiInitialisation(const std::string& queue, const std::string& port);
/// A password or certificate call, while it loads its libraries.
Lines SecurityInitialisation();
/// A data map with that many items.
Lines DataMapLoading(int items);
Lines StatusInitialisation(const std::string& address);
Lines PortStatusOf(const std::string& port);

}  // namespace custom_bidi_test
