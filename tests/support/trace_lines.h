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

void ExpectTrace(const Lines& expected, Lines actual);

/// The lines before the first one that begins with `start`, and those from it on.
Lines Before(const Lines& lines, std::string_view start);
Lines From(const Lines& lines, std::string_view start);

/// `Name << Enter`, the lines in between, `Name >> Leave`.
Lines Method(const std::string& name, const Lines& inner = {});

/// The line for a Win32 code: the system's text headed by the label.
Lines ErrorLine(unsigned code, const std::string& label);

/// What a file that does not load is traced as; the reason is the XML parser's own.
Lines FailedXml(const std::string& path);

/// Lines of the certificate wrapper, which stands in front of each.
Lines Wrapper(const Lines& lines);

/// Reads a trace file, which need not exist, as UTF-16LE without a byte-order mark. Fails the test for a line
/// without a stamp in the form [hh:mm:ss.mmm] and two blanks, and for a file that does not end with CR LF.
Lines ReadTrace(const std::string& path);

// What a call traces when all goes well, for a printer at 192.0.2.10 and libraries of the default names.

/// A queue on the port `port`; empty: without one, so that the printer is known by the queue's name.
Lines BidiInitialisation(const std::string& queue, const std::string& port);
/// A data map with that many items, and a call for it.
Lines DataMapLoading(int items);
Lines StatusInitialisation(const std::string& address);
Lines PortStatusOf(const std::string& port);
/// A password or certificate call, while it loads its libraries.
Lines SecurityInitialisation();
/// A password call up to its last line, "Saved Target" and the like.
Lines PasswordCall(const std::string& last);
/// Reading a certificate without warnings.
Lines CertificateRead();
/// Checking a certificate of that many warnings, up to and with the vault's store.
Lines CheckBegin(size_t warnings);
/// Comparing with the vault's copy, which is that long; up to the look at the dates.
Lines CheckCompared(size_t vault_length, bool match);
/// Giving all back, when that many warnings are left.
Lines CheckEnd(size_t warnings);

inline constexpr char kLoadSucceeded[] = ">>>>>Custom Bidi :  LoadIPPResponse success!!!";
inline Lines BidiCall(const std::string& queue, const std::string& port, int items) {
  return BidiInitialisation(queue, port) + DataMapLoading(items) + Lines{kLoadSucceeded};
}
inline constexpr char kLoadFailed[] = ">>>>>Custom Bidi :  LoadIPPResponse fail!!!";
inline constexpr char kInitFailed[] = ">>>> Custom Bidi : InitIOWrapper Initialization failed!!";
inline constexpr char kTargetPresent[] = "[IxoWrapper]:Target present";
inline constexpr char kTargetNotPresent[] = "[IxoWrapper]:Target NOT present";

}  // namespace custom_bidi_test
