#pragma once

#include "src/context/item_map.h"

namespace custom_bidi {

/// Stores an item as the answer carries it: a text with a comma becomes the members `name`_Value with the
/// text and `name` with "Valid"; an empty text is left out.
void StoreItem(WStringView name, WStringView text, ItemMap& items);

/// The bidi answer: one JSON object of string members, the items in the map's order, "CID" last. Texts are
/// copied as they are, nothing is escaped. Linear in the size of the answer.
WString BidiJson(const ItemMap& items, WStringView cid);

/// The status answer of three values: no blank anywhere; the first two signed, the third not.
WString StatusJson(DWORD printer_status, DWORD response_code, DWORD status_code);

}  // namespace custom_bidi
