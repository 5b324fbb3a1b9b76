// keluab expand, prepare: working with recipients.
#include <cstring>

#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

ULONG RecipientType(const std::string& text) { return text == "cc" ? MAPI_CC : text == "bcc" ? MAPI_BCC : MAPI_TO; }

const char* RecipientTypeName(ULONG type) {
  return type == MAPI_CC ? "cc" : type == MAPI_BCC ? "bcc" : type == MAPI_TO ? "to" : "";
}

// A copy of bytes or text linked to the value array.
template <typename T>
T* Linked(void* head, const T* data, std::size_t size) {
  void* copy = nullptr;
  Check(UABAllocateMore(static_cast<ULONG>(size), head, &copy), "allocate memory");
  std::memcpy(copy, data, size);
  return static_cast<T*>(copy);
}

void FillRecipient(ADRENTRY& recipient, const Entry& entry, ULONG type) {
  void* block = nullptr;
  Check(UABAllocateBuffer(4 * sizeof(SPropValue), &block), "allocate memory");
  auto* values = static_cast<SPropValue*>(block);
  recipient.rgPropVals = values;
  recipient.cValues = 4;
  values[0].ulPropTag = PR_ENTRYID;
  values[0].Value.bin = {IdSize(entry.id),
                         Linked(values, reinterpret_cast<const BYTE*>(entry.id.data()), entry.id.size())};
  values[1].ulPropTag = PR_OBJECT_TYPE;
  values[1].Value.ul = entry.type;
  values[2].ulPropTag = PR_RECIPIENT_TYPE;
  values[2].Value.ul = type;
  WideText name = ToWide(entry.name);
  values[3].ulPropTag = PR_DISPLAY_NAME_W;
  values[3].Value.lpszW = Linked(values, name.c_str(), 2 * (name.size() + 1));
}

// The object type of an entry that was named by its identifier.
void CompleteType(IAddrBook* book, Entry& entry) {
  if (entry.type != 0) return;
  static constexpr TagArray<2> kTags = {2, {PR_OBJECT_TYPE, PR_DISPLAY_NAME_W}};
  Properties properties;
  Check(properties.Read(OpenProps(book, entry.id, 0, entry.name).get(), kTags.address()), "read " + entry.name);
  entry.type = NumberOf(properties[0], PR_OBJECT_TYPE);
  entry.name = TextOf(properties[1], PR_DISPLAY_NAME_W);
}

Recipients ListOf(IAddrBook* book, const RecipientOptions& options) {
  void* block = nullptr;
  Check(UABAllocateBuffer(static_cast<ULONG>(8 + 16 * options.entries.size()), &block), "allocate memory");
  Recipients list(static_cast<ADRLIST*>(block));
  for (const std::string& reference : options.entries) {
    Entry entry = FindEntry(book, reference);
    CompleteType(book, entry);
    FillRecipient(list->aEntries[list->cEntries++], entry, RecipientType(options.type));
  }
  return list;
}

SPropValue* Find(const ADRENTRY& entry, ULONG tag) {
  for (ULONG i = 0; i < entry.cValues; ++i) {
    if (entry.rgPropVals[i].ulPropTag == tag) return &entry.rgPropVals[i];
  }
  return nullptr;
}

Json RowOf(const ADRENTRY& entry) {
  auto text = [&](ULONG tag) { return Find(entry, tag) != nullptr ? TextOf(*Find(entry, tag), tag) : std::string(); };
  auto number = [&](ULONG tag) { return Find(entry, tag) != nullptr ? Find(entry, tag)->Value.ul : 0; };
  std::string id = Find(entry, PR_ENTRYID) != nullptr ? BytesOf(*Find(entry, PR_ENTRYID), PR_ENTRYID) : std::string();
  return {{"name", text(PR_DISPLAY_NAME_W)},
          {"kind", TypeName(number(PR_OBJECT_TYPE))},
          {"type", RecipientTypeName(number(PR_RECIPIENT_TYPE))},
          {"addrtype", text(PR_ADDRTYPE_W)},
          {"address", text(PR_EMAIL_ADDRESS_W)},
          {"id", ToHex(id.data(), id.size())}};
}

void Complete(IAddrBook* book, ADRLIST* list, const std::vector<ULONG>& tags) {
  std::vector<ULONG> array = {static_cast<ULONG>(tags.size())};
  array.insert(array.end(), tags.begin(), tags.end());
  Check(book->PrepareRecips(0, reinterpret_cast<SPropTagArray*>(array.data()), list), "prepare the recipients");
}

const std::vector<ULONG> kUsualTags = {PR_ENTRYID,        PR_DISPLAY_NAME_W, PR_OBJECT_TYPE,
                                       PR_RECIPIENT_TYPE, PR_ADDRTYPE_W,     PR_EMAIL_ADDRESS_W};

const std::vector<Column> kColumns = {
    {"name", "NAME"}, {"kind", "KIND"}, {"type", "TYPE"}, {"addrtype", "VIA"}, {"address", "ADDRESS"}};

}  // namespace

void ExpandLists(Context& context, const RecipientOptions& options) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Recipients list = ListOf(session.book(), options);
  Check(session->ExpandDistLists(0, list.address()), "expand the lists");
  Complete(session.book(), list.get(), kUsualTags);
  Json rows = Json::array();
  for (ULONG i = 0; i < list->cEntries; ++i) rows.push_back(RowOf(list->aEntries[i]));
  context.output.PrintTable(kColumns, rows, "The lists have no members.");
}

void PrepareRecipients(Context& context, const RecipientOptions& options) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Recipients list = ListOf(session.book(), options);
  std::vector<ULONG> tags;
  for (const std::string& name : options.properties) {
    ULONG tag = PropertyTag(name);
    if (tag == 0) throw Failure(kExitUsage, "'" + name + "' is no property.");
    tags.push_back(tag);
  }
  Complete(session.book(), list.get(), tags.empty() ? kUsualTags : tags);
  Json rows = Json::array();
  for (ULONG i = 0; i < list->cEntries; ++i) {
    Json row = RowOf(list->aEntries[i]);
    const ADRENTRY& entry = list->aEntries[i];
    for (ULONG j = 0; j < entry.cValues; ++j) {
      const SPropValue& value = entry.rgPropVals[j];
      bool missing = PropType(value.ulPropTag) == PT_ERROR && !context.output.json;
      row[PropertyName(value.ulPropTag)] = missing ? Json() : PropertyValue(value);
    }
    rows.push_back(std::move(row));
  }
  std::vector<Column> columns = kColumns;
  if (!tags.empty()) columns.resize(3);  // who it is, and then what was asked for
  for (ULONG tag : tags) columns.push_back({PropertyName(tag), PropertyName(tag)});
  context.output.PrintTable(columns, rows, "No recipients.");
}

}  // namespace host
