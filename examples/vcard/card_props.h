// What a card is as an entry of the address book: its text turned into properties, and properties into text.
#pragma once

#include "values.h"

namespace uab::vcard {

// The properties of a card with that text. A card without a fax number has no address: neither PR_ADDRTYPE_W nor
// PR_EMAIL_ADDRESS_W, so that nobody dials a telephone.
Properties CardProperties(std::string_view text, std::string entry_id, bool group);

// Applies one property to a card's text. False: it can't be written. PR_NULL and an address type of FAX are taken.
bool ApplyProperty(std::string& text, const Property& property);

// The inside form of a caller's value; the types of the properties that can be written.
Property FromValue(const SPropValue& value);

}  // namespace uab::vcard
