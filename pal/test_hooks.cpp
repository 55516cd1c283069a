#include "pal/test_hooks.h"

#include <utility>

#include "pal/accounting.h"

namespace pal {

LiveCounts CountLiveObjects() {
  return {.handles = LiveCount(Kind::kHandle),
          .modules = LiveCount(Kind::kModule),
          .com_initialisations = LiveCount(Kind::kComInitialisation),
          .bstrs = LiveCount(Kind::kBstr),
          .dom_objects = LiveCount(Kind::kDomObject),
          .blocks = LiveCount(Kind::kBlock),
          .registry_keys = LiveCount(Kind::kRegistryKey),
          .printers = LiveCount(Kind::kPrinter),
          .certificates = LiveCount(Kind::kCertificate)};
}

long LiveObjects() {
  long sum = 0;
  for (int kind = 0; kind < kKindCount; ++kind)
    sum += LiveCount(static_cast<Kind>(kind));
  return sum;
}

std::string DescribeLiveObjects() {
  const LiveCounts counts = CountLiveObjects();
  const std::pair<const char*, long> named_counts[] = {
      {"handles", counts.handles},
      {"modules", counts.modules},
      {"COM initialisations", counts.com_initialisations},
      {"bstrs", counts.bstrs},
      {"DOM objects", counts.dom_objects},
      {"blocks", counts.blocks},
      {"registry keys", counts.registry_keys},
      {"printers", counts.printers},
      {"certificates", counts.certificates},
  };
  std::string text;
  for (const auto& [name, count] : named_counts) {
    if (count == 0)
      continue;
    if (!text.empty())
      text += ", ";
    text += std::to_string(count) + ' ' + name;
  }
  return text.empty() ? "nothing" : text;
}

}  // namespace pal
