#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "ixo/simulated/printer_reader.h"

namespace custom_bidi::simulated {
namespace {

constexpr std::pair<const char*, Fault::Kind> kKinds[] = {{"null", Fault::Kind::kNull},
                                                          {"hresult", Fault::Kind::kResult},
                                                          {"raise", Fault::Kind::kRaise},
                                                          {"throw", Fault::Kind::kThrow}};

bool HasCode(Fault::Kind kind) {
  return kind == Fault::Kind::kResult || kind == Fault::Kind::kRaise;
}

/// "null" or "throw", the kinds that need nothing more said.
Fault::Kind PlainKind(const device::Json& json, const std::string& where) {
  for (const auto& [name, kind] : kKinds) {
    if (json == name && !HasCode(kind)) {
      return kind;
    }
  }
  device::Fail(where, "unknown fault " + json.dump());
}

/// Reads the one member that says what happens: {"hresult": code}, {"raise": code}, {"null": true}, {"throw":
/// true}.
void ReadKind(const device::Json& json, const std::string& where, Fault& fault) {
  int kinds_named = 0;
  for (const auto& [name, kind] : kKinds) {
    if (!json.contains(name)) {
      continue;
    }
    ++kinds_named;
    fault.kind = kind;
    if (HasCode(kind)) {
      fault.code = device::CodeFrom(json[name], device::Member(where, name));
    } else if (json[name] != true) {
      device::Fail(device::Member(where, name), "true is expected, not " + json[name].dump());
    }
  }
  if (kinds_named != 1) {
    device::Fail(where, "one of \"null\", \"hresult\", \"raise\" and \"throw\" is expected");
  }
}

Fault FaultFrom(const device::Json& json, const std::string& where) {
  Fault fault;
  if (json.is_string()) {
    fault.kind = PlainKind(json, where);
    return fault;
  }
  device::RequireMembers(json, {"null", "hresult", "raise", "throw", "deliver", "only", "call"}, where);
  ReadKind(json, where, fault);
  if (json.contains("deliver")) {
    if (fault.kind != Fault::Kind::kResult || json["deliver"] != true) {
      device::Fail(device::Member(where, "deliver"), "true is expected, and a \"hresult\" beside it");
    }
    fault.deliver = true;
  }
  if (json.contains("only")) {
    fault.only = device::TextFrom(json["only"], device::Member(where, "only"));
  }
  if (json.contains("call")) {
    fault.call = static_cast<uint64_t>(device::IntegerFrom(
        json["call"], 1, std::numeric_limits<uint32_t>::max(), device::Member(where, "call")));
  }
  return fault;
}

/// Fails for what would never have an effect.
void RequireMeaning(const Fault& fault, const OperationTraits& operation, const std::string& where) {
  if (fault.kind == Fault::Kind::kNull && !operation.has_null) {
    device::Fail(where, "the operation gives nothing that could be null");
  }
  if (fault.kind == Fault::Kind::kResult && !operation.has_result) {
    device::Fail(where, "the operation has no \"hresult\"");
  }
  if (fault.only && !operation.has_subject) {
    device::Fail(where, "the operation is asked for no name, so there is nothing for \"only\"");
  }
}

}  // namespace

void AddFaults(const device::Json& json,
               Operation operation,
               const WString* subject,
               const std::string& where,
               Printer& printer) {
  if (json.is_array()) {
    for (size_t i = 0; i < json.size(); ++i) {
      AddFaults(json[i], operation, subject, where + "[" + std::to_string(i) + "]", printer);
    }
    return;
  }
  Fault fault = FaultFrom(json, where);
  RequireMeaning(fault, kOperations[static_cast<size_t>(operation)], where);
  if (subject) {
    if (fault.only) {
      device::Fail(where, "\"only\" has no place in an entry's own fault");
    }
    fault.only = *subject;
  }
  printer.faults[static_cast<size_t>(operation)].push_back(std::move(fault));
}

void AddFaultsByOperation(const device::Json& json, const std::string& where, Printer& printer) {
  device::RequireObject(json, where);
  for (const auto& [name, faults] : json.items()) {
    const auto* const found = std::ranges::find(kOperations, name, &OperationTraits::name);
    if (found == std::end(kOperations)) {
      device::Fail(where, "unknown operation " + device::Json(name).dump());
    }
    AddFaults(faults, static_cast<Operation>(found - kOperations), nullptr, device::Member(where, name),
              printer);
  }
}

}  // namespace custom_bidi::simulated
