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

constexpr int64_t kMostDelay = 60000;

bool HasCode(Fault::Kind kind) {
  return kind == Fault::Kind::kResult || kind == Fault::Kind::kRaise;
}

bool IsTrue(const support::Json& json) {
  return json.is_boolean() && json.boolean();
}

/// "null" or "throw", the kinds that need nothing more said.
Fault::Kind PlainKind(const support::Json& json, const std::string& where) {
  for (const auto& [name, kind] : kKinds) {
    if (json.string() == name && !HasCode(kind)) {
      return kind;
    }
  }
  support::Fail(where, "unknown fault " + json.dump());
}

/// Reads the one member that says what happens: {"hresult": code}, {"raise": code}, {"null": true}, {"throw":
/// true}. Nothing else need happen when the call is late, or tells another length.
void ReadKind(const support::Json& json, const std::string& where, Fault& fault) {
  int kinds_named = 0;
  for (const auto& [name, kind] : kKinds) {
    if (!json.contains(name)) {
      continue;
    }
    ++kinds_named;
    fault.kind = kind;
    if (HasCode(kind)) {
      fault.code = support::CodeFrom(json[name], support::Member(where, name));
    } else if (!IsTrue(json[name])) {
      support::Fail(support::Member(where, name), "true is expected, not " + json[name].dump());
    }
  }
  const bool is_more = json.contains("delay") || json.contains("length");
  if (kinds_named > 1 || (kinds_named == 0 && !is_more)) {
    support::Fail(
        where,
        "one of \"null\", \"hresult\", \"raise\" and \"throw\" is expected, or \"delay\" or \"length\"");
  }
}

/// A member from `lowest` to `highest`, within 32 bits.
DWORD NumberFrom(const support::Json& json,
                 const char* name,
                 int64_t lowest,
                 int64_t highest,
                 const std::string& where) {
  return static_cast<DWORD>(support::IntegerFrom(json[name], lowest, highest, support::Member(where, name)));
}

Fault FaultFrom(const support::Json& json, const std::string& where) {
  Fault fault;
  if (json.is_string()) {
    fault.kind = PlainKind(json, where);
    return fault;
  }
  constexpr int64_t kMost = std::numeric_limits<uint32_t>::max();
  support::RequireMembers(
      json, {"null", "hresult", "raise", "throw", "deliver", "length", "delay", "only", "call"}, where);
  ReadKind(json, where, fault);
  if (json.contains("deliver")) {
    if (fault.kind != Fault::Kind::kResult || !IsTrue(json["deliver"])) {
      support::Fail(support::Member(where, "deliver"), "true is expected, and a \"hresult\" beside it");
    }
    fault.deliver = true;
  }
  if (json.contains("only")) {
    fault.only = support::TextFrom(json["only"], support::Member(where, "only"));
  }
  if (json.contains("call")) {
    fault.call = NumberFrom(json, "call", 1, kMost, where);
  }
  if (json.contains("length")) {
    fault.length = NumberFrom(json, "length", 0, kMost, where);
  }
  if (json.contains("delay")) {
    fault.delay_ms = NumberFrom(json, "delay", 1, kMostDelay, where);
  }
  return fault;
}

/// Fails for what would never have an effect.
void RequireMeaning(const Fault& fault, const OperationTraits& operation, const std::string& where) {
  if (fault.kind == Fault::Kind::kNull && !operation.has_null) {
    support::Fail(where, "the operation gives nothing that could be null");
  }
  if (fault.kind == Fault::Kind::kResult && !operation.has_result) {
    support::Fail(where, "the operation has no \"hresult\"");
  }
  if (fault.length && !operation.has_length) {
    support::Fail(where, "the operation tells no \"length\"");
  }
  if (fault.only && !operation.has_subject) {
    support::Fail(where, "the operation is asked for no name, so there is nothing for \"only\"");
  }
}

}  // namespace

void AddFaults(const support::Json& json,
               Operation operation,
               const WString* subject,
               const std::string& where,
               Printer& printer) {
  if (json.is_array()) {
    for (size_t i = 0; const support::Json& element : json.elements()) {
      AddFaults(element, operation, subject, support::Element(where, i++), printer);
    }
    return;
  }
  Fault fault = FaultFrom(json, where);
  RequireMeaning(fault, kOperations[static_cast<size_t>(operation)], where);
  if (subject != nullptr) {
    if (fault.only) {
      support::Fail(where, "\"only\" has no place in an entry's own fault");
    }
    fault.only = *subject;
  }
  printer.faults[static_cast<size_t>(operation)].push_back(std::move(fault));
}

void AddFaultsByOperation(const support::Json& json, const std::string& where, Printer& printer) {
  support::RequireObject(json, where);
  for (const auto& [name, faults] : json.items()) {
    const auto* const found = std::ranges::find(kOperations, name, &OperationTraits::name);
    if (found == std::end(kOperations)) {
      support::Fail(where, "unknown operation " + support::Json(name).dump());
    }
    AddFaults(faults, static_cast<Operation>(found - kOperations), nullptr, support::Member(where, name),
              printer);
  }
}

}  // namespace custom_bidi::simulated
