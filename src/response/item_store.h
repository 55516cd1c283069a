#pragma once

#include "src/response/item_map.h"

namespace custom_bidi {

/// Stores an item as the answer carries it: a text with a comma becomes the members `name`_Value with the
/// text and `name` with "Valid"; an empty text is left out.
void StoreItem(WStringView name, WStringView text, ItemMap& items);

}  // namespace custom_bidi
