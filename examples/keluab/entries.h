// Finding and opening entries of the address book by what a person types: a path such as "Phones/friends/Ada Lovelace"
// (containers' names, then the entry's), or the hexadecimal identifier that find and tree print.
#pragma once

#include <string>
#include <vector>

#include "com.h"
#include "keluab/keluab.h"

namespace host {

struct Container {
  std::string name;
  std::string path;  // the names from the top, joined by "/"
  std::string id;    // identifiers are bytes
  uab::ULONG flags = 0;
  uab::ULONG depth = 0;
};

struct Entry {
  std::string id;
  std::string name;
  uab::ULONG type = 0;  // PR_OBJECT_TYPE
  std::string address;
};

// All containers in the order of the merged hierarchy.
std::vector<Container> ListContainers(uab::IAddrBook* book);

// Calls visit(entry) for each entry of a container until it returns false.
template <typename Visit>
void ForEachEntry(uab::IAddrBook* book, const std::string& container_id, Visit visit);

// Throw a Failure when nothing fits.
Container FindContainer(uab::IAddrBook* book, const std::string& reference);
Entry FindEntry(uab::IAddrBook* book, const std::string& reference);

uab::ENTRYID* IdPointer(const std::string& id);
uab::ULONG IdSize(const std::string& id);

// Opens an entry as one of the interfaces. Throws a Failure.
Com<uab::IUnknown> OpenObject(uab::IAddrBook* book, const std::string& id, uab::ULONG flags, const std::string& what);
Com<uab::IMAPIProp> OpenProps(uab::IAddrBook* book, const std::string& id, uab::ULONG flags, const std::string& what);
Com<uab::IABContainer> OpenContainer(uab::IAddrBook* book, const std::string& id, const std::string& what);

const char* TypeName(uab::ULONG object_type);

// What ForEachEntry does for one container.
Com<uab::IMAPITable> OpenContents(uab::IAddrBook* book, const std::string& container_id);
uab::SPropTagArray* EntryColumns();
Entry EntryOf(const uab::SRow& row);

}  // namespace host

#include "values.h"

template <typename Visit>
void host::ForEachEntry(uab::IAddrBook* book, const std::string& container_id, Visit visit) {
  Com<uab::IMAPITable> table = OpenContents(book, container_id);
  if (table) ForEachRow(table.get(), EntryColumns(), [&](const uab::SRow& row) { return visit(EntryOf(row)); });
}
