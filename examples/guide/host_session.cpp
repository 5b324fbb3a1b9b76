// Logs on to the default profile, shows its containers and entries, expands the lists and prepares the recipients.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "owners.h"

using namespace uab;
using namespace guide;

namespace {

WCHAR app_key[] = UAB_TEXT("Guide");  // outlives the session and everything opened through it

struct Entry {
  std::vector<BYTE> id;
  ULONG type;
};

// Calls use for every row of a table, with the values of the columns in their order.
template <typename Columns, typename Use>
void ForEachRow(IMAPITable& table, const Columns& columns, Use use) {
  Check(table.SetColumns(columns.address(), 0), "choose columns");
  Check(table.SeekRow(BOOKMARK_BEGINNING, 0, nullptr), "go to the first row");
  for (Rows rows;;) {
    Check(table.QueryRows(50, 0, rows.Put()), "read rows");
    if (rows->cRows == 0) return;
    for (ULONG i = 0; i < rows->cRows; ++i) use(rows->aRow[i].lpProps);
  }
}

// The rows' values are freed with their set: what is needed longer is copied.
Entry EntryOf(const SPropValue& id, const SPropValue& type) {
  if (id.ulPropTag != PR_ENTRYID) return {};
  return {{id.Value.bin.lpb, id.Value.bin.lpb + id.Value.bin.cb}, Number(type)};
}

std::vector<Entry> ReadContainers(IAddrBook& book) {
  static constexpr TagArray<4> kColumns = {4, {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_OBJECT_TYPE, PR_DEPTH}};
  Com<IUnknown> object;
  ULONG type = 0;
  Check(book.OpenEntry(0, nullptr, nullptr, 0, &type, object.Put()), "open the root");  // a null identifier: the root
  Com<IMAPITable> hierarchy;
  Check(static_cast<IABContainer*>(object.get())->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, hierarchy.Put()),
        "read the hierarchy");
  std::vector<Entry> containers;
  ForEachRow(*hierarchy.get(), kColumns, [&](const SPropValue* values) {
    std::printf("%*s%s\n", static_cast<int>(2 * Number(values[3])), "", Text(values[0]).c_str());
    containers.push_back(EntryOf(values[1], values[2]));
  });
  return containers;
}

// Adds a container's entries. One that has no contents, as the root of a provider may, is passed over.
void ReadEntries(IAddrBook& book, Entry& container, std::vector<Entry>& entries) {
  static constexpr TagArray<3> kColumns = {3, {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_OBJECT_TYPE}};
  Com<IUnknown> object;
  ULONG type = 0;
  Check(book.OpenEntry(static_cast<ULONG>(container.id.size()), reinterpret_cast<ENTRYID*>(container.id.data()),
                       nullptr, 0, &type, object.Put()),
        "open a container");
  Com<IMAPITable> contents;
  HRESULT hr = static_cast<IABContainer*>(object.get())->GetContentsTable(MAPI_UNICODE, contents.Put());
  if (hr == MAPI_E_NO_SUPPORT) return;
  Check(hr, "read a container's contents");
  ForEachRow(*contents.get(), kColumns, [&](const SPropValue* values) {
    Entry entry = EntryOf(values[1], values[2]);
    std::printf("%s: %s\n", entry.type == MAPI_DISTLIST ? "list" : "user", Text(values[0]).c_str());
    entries.push_back(std::move(entry));
  });
}

// An address list is a head block of its own, and so is each entry's value array; what values point to is linked to
// their array. The count grows entry by entry, so that the owner frees what there is when an allocation fails.
void FillList(std::vector<Entry>& entries, Recipients& list) {
  void* block = nullptr;
  Check(UABAllocateBuffer(static_cast<ULONG>(8 + 16 * entries.size()), &block), "allocate a list");
  *list.Put() = static_cast<ADRLIST*>(block);
  for (const Entry& entry : entries) {
    Check(UABAllocateBuffer(3 * sizeof(SPropValue), &block), "allocate values");
    auto* values = static_cast<SPropValue*>(block);
    list->aEntries[list->cEntries++] = {0, 3, values};
    values[0].ulPropTag = PR_OBJECT_TYPE;
    values[0].Value.ul = entry.type;
    values[1].ulPropTag = PR_RECIPIENT_TYPE;
    values[1].Value.ul = MAPI_TO;
    values[2].ulPropTag = PR_ENTRYID;
    Check(UABAllocateMore(static_cast<ULONG>(entry.id.size()), values, &block), "allocate an identifier");
    std::memcpy(block, entry.id.data(), entry.id.size());
    values[2].Value.bin = {static_cast<ULONG>(entry.id.size()), static_cast<BYTE*>(block)};
  }
}

// Each entry's values come in the order of the tags; a provider may add others behind them.
void PrintRecipients(IUABSession& session, IAddrBook& book, std::vector<Entry>& entries) {
  static constexpr TagArray<5> kTags = {
      5, {PR_DISPLAY_NAME_W, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W, PR_ENTRYID, PR_RECIPIENT_TYPE}};
  Recipients list;
  FillList(entries, list);
  Check(session.ExpandDistLists(0, list.InOut()), "expand the lists");
  Check(book.PrepareRecips(0, kTags.address(), list.get()), "prepare the recipients");
  for (ULONG i = 0; i < list->cEntries; ++i) {
    const ADRENTRY& recipient = list->aEntries[i];
    if (recipient.cValues < 3) continue;
    const SPropValue* values = recipient.rgPropVals;
    std::printf("to %s via %s at %s\n", Text(values[0]).c_str(), Text(values[1]).c_str(), Text(values[2]).c_str());
  }
}

}  // namespace

int main() try {
  Com<IUABSession> session;  // declared first, so released last
  Com<IAddrBook> book;
  Check(UABOpen(app_key, nullptr, 0, nullptr, MAPI_UNICODE | UAB_DEFAULT_PROFILE, nullptr, nullptr, nullptr, book.Put(),
                session.Put(), 0),
        "log on");
  std::vector<Entry> containers = ReadContainers(*book.get()), entries;
  for (Entry& container : containers) ReadEntries(*book.get(), container, entries);
  if (!entries.empty()) PrintRecipients(*session.get(), *book.get(), entries);
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "host_session: %s\n", failure.what());
  return 1;
}
