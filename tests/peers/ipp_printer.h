#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/peers/message_bus.h"
#include "tests/peers/process.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi_test {

struct IppPrinterOptions {
  /// Its attributes, in the format of ippserver; empty: "good.attributes" of these sources.
  std::filesystem::path attributes = {};
  /// Its texts, which it serves as English; empty: none, though it names an address for them.
  std::filesystem::path strings = {};
  /// Folder of its certificate and key; empty: a self-signed certificate, made by the first connection.
  std::filesystem::path keys = {};
  std::string name = "VX400";
};

/// CUPS's IPP Everywhere printer on 127.0.0.1 and ::1: plain HTTP, TLS and an upgrade to TLS on one port.
class IppPrinter {
 public:
  explicit IppPrinter(const IppPrinterOptions& options = {});

  uint16_t Port() const { return port_; }
  /// Its address by the scheme "ipp" or "ipps", for a host name that means this machine.
  std::string Uri(const std::string& scheme, const std::string& host = "localhost") const;

  /// What it has said of its connections and requests up to now.
  std::string Log() const { return ReadWholeFile(log_); }
  /// How many Get-Printer-Attributes, and how many HTTP GETs, it has received.
  int AttributeRequests() const;
  int FileRequests() const;

 private:
  void Start(const IppPrinterOptions& options);

  MessageBus bus_;  // it ends when its bus does
  TemporaryFolder folder_;
  std::filesystem::path log_;
  uint16_t port_ = 0;
  std::unique_ptr<Process> process_;
};

}  // namespace custom_bidi_test
