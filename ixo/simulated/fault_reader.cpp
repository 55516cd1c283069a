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
Fault::Kind PlainKind(const Json& json, const std::string& where) {
  for (const auto& [name, kind] : kKinds) {
    if (json == name && !HasCode(kind)) {
      return kind;
    }
  }
  Fail(where, "unknown fault " + json.dump());
}

/// Reads the one member that says what happens: {"hresult": code}, {"raise": code}, {"null": true}, {"throw":
/// true}.
void ReadKind(const Json& json, const std::string& where, Fault& fault) {
  int kinds_named = 0;
  for (const auto& [name, kind] : kKinds) {
    if (!json.contains(name)) {
      continue;
    }
    ++kinds_named;
    fault.kind = kind;
    if (HasCode(kind)) {
      fault.code = CodeFrom(json[name], Member(where, name));
    } else if (json[name] != true) {
      Fail(Member(where, name), "true is expected, not " + json[name].dump());
    }
  }
  if (kinds_named != 1) {
    Fail(where, "one of \"null\", \"hresult\", \"raise\" and \"throw\" is expected");
  }
}

Fault FaultFrom(const Json& json, const std::string& where) {
  Fault fault;
  if (json.is_string()) {
    fault.kind = PlainKind(json, where);
    return fault;
  }
  RequireMembers(json, {"null", "hresult", "raise", "throw", "deliver", "only", "call"}, where);
  ReadKind(json, where, fault);
  if (json.contains("deliver")) {
    if (fault.kind != Fault::Kind::kResult || json["deliver"] != true) {
      Fail(Member(where, "deliver"), "true is expected, and a \"hresult\" beside it");
    }
    fault.deliver = true;
  }
  if (json.contains("only")) {
    fault.only = TextFrom(json["only"], Member(where, "only"));
  }
  if (json.contains("call")) {
    fault.call = static_cast<uint64_t>(
        IntegerFrom(json["call"], 1, std::numeric_limits<uint32_t>::max(), Member(where, "call")));
  }
  return fault;
}

/// Fails for what would never have an effect.
void RequireMeaning(const Fault& fault, const OperationTraits& operation, const std::string& where) {
  if (fault.kind == Fault::Kind::kNull && !operation.has_null) {
    Fail(where, "the operation gives nothing that could be null");
  }
  if (fault.kind == Fault::Kind::kResult && !operation.has_result) {
    Fail(where, "the operation has no \"hresult\"");
  }
  if (fault.only && !operation.has_subject) {
    Fail(where, "the operation is asked for no name, so there is nothing for \"only\"");
  }
}

}  // namespace

void AddFaults(const Json& json,
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
      Fail(where, "\"only\" has no place in an entry's own fault");
    }
    fault.only = *subject;
  }
  printer.faults[static_cast<size_t>(operation)].push_back(std::move(fault));
}

void AddFaultsByOperation(const Json& json, const std::string& where, Printer& printer) {
  RequireObject(json, where);
  for (const auto& [name, faults] : json.items()) {
    const auto* const found = std::ranges::find(kOperations, name, &OperationTraits::name);
    if (found == std::end(kOperations)) {
      Fail(where, "unknown operation " + Json(name).dump());
    }
    AddFaults(faults, static_cast<Operation>(found - kOperations), nullptr, Member(where, name), printer);
  }
}

}  // namespace custom_bidi::simulated
