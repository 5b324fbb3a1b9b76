// Changing one card's text. Each operation rewrites the lines that it has to and leaves every other byte as it was; new
// lines follow the card's own version and line ends. It reads the result before it hands it over: where a damaged card
// leaves no way to write so that the value reads back and all other lines read as before, it answers false and changes
// nothing. Values are UTF-8. Stateless.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "card_reader.h"

namespace uab::vcard {

// A new card with a UID and nothing else; SetName has to follow.
std::string NewCard(bool group, std::string_view uid, CardStyle style);

// The name to show, and with it the parts of a name: its last word becomes the family name. A name that the card shows
// already changes nothing.
bool SetName(std::string& card, std::string_view name);
bool SetFax(std::string& card, std::string_view number);  // what FindFax finds, or a new line; empty: removes it
bool SetNote(std::string& card, std::string_view note);
bool SetUid(std::string& card, std::string_view uid);  // replaces the UID, or adds one

// Adds a member by its UID at the end. Time grows with the tail behind the last line only. False: no line names that
// UID.
bool AddMember(std::string& card, CardStyle style, std::string_view uid);

// Removes the members that say so. One pass.
bool RemoveMembers(std::string& card, const std::function<bool(const MemberAddress&)>& goes);

// The text of a card made to stand for another: with the other's UID and members, everything else of its own.
// False also where text is not one whole card of the same kind.
bool AdoptText(std::string& card, std::string_view text);

}  // namespace uab::vcard
