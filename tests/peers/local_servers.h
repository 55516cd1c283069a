#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/peers/temporary_folder.h"

/// Real servers of scripts/local_servers.sh, each in a folder of its own and for as long as the object lives.
/// One that does not start, or that refuses what it is told, raises std::runtime_error with the last words.
namespace custom_bidi_test {

using Words = std::vector<std::string>;

struct Outcome {
  int exit_code;
  std::string output;  // and standard error
};

/// Runs a program to its end, but not for more than 30 s.
Outcome RunProgram(const Words& words);

/// Asks every few milliseconds until the answer is yes or the limit is over. The last answer.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

/// A file that stands beside these sources, such as "good.attributes".
std::filesystem::path PeerFile(const std::string& name);

/// A folder with a printer's `localhost.crt` (with the authority's certificate behind its own, unless it is
/// self-signed) and `localhost.key`. "good" is for localhost, 127.0.0.1 and ::1; the others are the same but
/// for one thing: "expired", "othername" (for other.example), "selfsigned", "weak" (RSA of 1024 bits),
/// "wrongusage" (for clients only), "revoked" and "badsignature" (one bit of it is wrong). Or, as PEM files,
/// "ca.crt", the certificate of the authority that signed them, and "crl.pem", its list of revoked ones.
std::filesystem::path PrinterKeys(const std::string& name);

/// Any of the servers, which ends also with the thread that started it.
class LocalServer {
 public:
  /// The words follow the folder; an agent is configured by the lines.
  explicit LocalServer(const std::string& kind, const Words& words = {}, const std::string& lines = {});
  ~LocalServer();
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;

  const TemporaryFolder& Folder() const { return folder_; }
  uint16_t Port() const;

 private:
  TemporaryFolder folder_;
  pid_t id_;
};

struct SnmpAgentOptions {
  // As the daemon's configuration writes them; an object that is left out is not there.
  std::optional<std::string> device_status = "2";
  std::optional<std::string> printer_status = "3";
  std::optional<std::string> error_state = "0x00";
  std::string community = "public";
  /// A version that is not answered is not refused either: its requests are dropped.
  bool answers_v2c = true;
  /// Further lines of the daemon's configuration, such as "override -rw 1.3.6.1.2.1.1.5.0 octet_str VX".
  Words lines = {};
};

/// net-snmp's daemon on 127.0.0.1 and ::1, with the objects by which a printer tells its state.
class SnmpAgent : public LocalServer {
 public:
  static constexpr char kDeviceStatusOid[] = "1.3.6.1.2.1.25.3.2.1.5.1";
  static constexpr char kPrinterStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1.1";
  static constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2.1";

  explicit SnmpAgent(const SnmpAgentOptions& options = {});

  /// Changes an object that is there. `type` is snmpset's: "i" an integer, "x" octets as hexadecimal digits,
  /// "s" text.
  void Set(const std::string& oid, const std::string& type, const std::string& value) const;
};

struct IppPrinterOptions {
  /// Its attributes, in the format of ippserver.
  std::filesystem::path attributes = PeerFile("good.attributes");
  /// Its texts, which it serves as English; empty: none, though it names an address for them.
  std::filesystem::path strings = {};
  /// Folder of its certificate and key.
  std::filesystem::path keys = PrinterKeys("good");
};

/// CUPS's IPP Everywhere printer on 127.0.0.1 and ::1: plain HTTP, TLS and an upgrade to TLS on one port.
class IppPrinter : public LocalServer {
 public:
  explicit IppPrinter(const IppPrinterOptions& options = {});

  /// Its address by the scheme "ipp" or "ipps", for a host name that means this machine.
  std::string Uri(const std::string& scheme, const std::string& host = "localhost") const;

  /// How many Get-Printer-Attributes, and how many HTTP GETs, it has received.
  int AttributeRequests() const { return CountLinesWith("operation-id=Get-Printer-Attributes"); }
  int FileRequests() const { return CountLinesWith(" GET /"); }
  /// How many connections it has accepted, without those that asked whether it is there.
  int Connections() const { return CountLinesWith("Accepted connection from") - first_connections_; }

 private:
  int CountLinesWith(const std::string& part) const;

  int first_connections_ = 0;
};

/// CUPS's spooler, with queues of its own, on a socket in its own folder: no port, nobody else's queues. It
/// takes queues for the schemes ipp, ipps, http, https, socket and usb; nothing can be printed on the last two.
class CupsServer : public LocalServer {
 public:
  CupsServer() : LocalServer("spooler") {}

  /// For CUPS_SERVER, which libcups reads at a thread's first use of it.
  std::string Server() const { return Folder() / "socket"; }

  /// Adds a queue without a driver, or gives one another address.
  void AddQueue(const std::string& name, const std::string& uri) const;
};

/// A D-Bus daemon of its own, with nobody on it, that starts nobody either.
class MessageBus : public LocalServer {
 public:
  explicit MessageBus(const std::string& kind = "bus") : LocalServer(kind) {}

  /// For DBUS_SESSION_BUS_ADDRESS.
  std::string Address() const { return "unix:path=" + (Folder() / "bus").string(); }
  /// Calls a method of a service on the bus, and gives what dbus-send says of the answer.
  std::string Call(const Words& words) const;
};

/// GNOME's keyring as the Secret Service of a session bus, in a home of its own. It begins empty and
/// unlocked. Nobody is there who could ask a user for a password, so what is locked stays locked.
class KeyringServer : public MessageBus {
 public:
  KeyringServer() : MessageBus("keyring") {}

  /// Locks the default collection.
  void Lock() const;
};

}  // namespace custom_bidi_test
