#include "ixo/simulated/printer.h"

#include <algorithm>

namespace custom_bidi::simulated {
namespace {

template <class Map>
const typename Map::mapped_type* Find(const Map& map, WStringView name) {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : &found->second;
}

template <class Map>
const typename Map::mapped_type* FindOrAny(const Map& map, WStringView name) {
  const auto* found = Find(map, name);
  return found != nullptr ? found : Find(map, W("*"));
}

}  // namespace

const Address* Printer::FindAddress(AddressKind kind, WStringView name) const {
  const std::optional<Address>* entry = FindOrAny(addresses[static_cast<size_t>(kind)], name);
  return entry != nullptr && *entry ? &**entry : nullptr;
}

const support::Value* Printer::FindItem(WStringView name) const {
  return Find(items, name);
}

const support::Value* Printer::FindOid(WStringView oid) const {
  return Find(oids, oid);
}

const WString* Printer::FindLocale(WStringView language) const {
  return FindOrAny(locale, language);
}

const Fault* Printer::FindFault(Operation operation, WStringView subject, uint64_t call) const {
  const std::vector<Fault>& candidates = faults[static_cast<size_t>(operation)];
  const auto found = std::ranges::find_if(candidates, [&](const Fault& fault) {
    return (!fault.only || *fault.only == subject) && (!fault.call || *fault.call == call);
  });
  return found == candidates.end() ? nullptr : &*found;
}

}  // namespace custom_bidi::simulated
