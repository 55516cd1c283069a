#pragma once

namespace custom_bidi::bench {

/// The fixed family answers the items Item0 to Item49, "DeviceID" beside them.
inline constexpr int kFixedItemCount = 50;

}  // namespace custom_bidi::bench
