#include "values.h"

#include <charconv>
#include <cstdint>
#include <cstdio>

#include "failure.h"
#include "text.h"

namespace host {
namespace {

using namespace uab;

struct Name {
  ULONG tag;
  const char* name;
};

const Name kNames[] = {
    {PR_DISPLAY_NAME_W, "DISPLAY_NAME"},
    {PR_OBJECT_TYPE, "OBJECT_TYPE"},
    {PR_DISPLAY_TYPE, "DISPLAY_TYPE"},
    {PR_ADDRTYPE_W, "ADDRTYPE"},
    {PR_EMAIL_ADDRESS_W, "EMAIL_ADDRESS"},
    {PR_COMMENT_W, "COMMENT"},
    {PR_DEPTH, "DEPTH"},
    {PR_ENTRYID, "ENTRYID"},
    {PR_SEARCH_KEY, "SEARCH_KEY"},
    {PR_INSTANCE_KEY, "INSTANCE_KEY"},
    {PR_RECIPIENT_TYPE, "RECIPIENT_TYPE"},
    {PR_CONTAINER_FLAGS, "CONTAINER_FLAGS"},
    {PR_CONTAINER_CONTENTS, "CONTAINER_CONTENTS"},
    {PR_CONTAINER_HIERARCHY, "CONTAINER_HIERARCHY"},
    {PR_CREATE_TEMPLATES, "CREATE_TEMPLATES"},
    {PR_DEF_CREATE_MAILUSER, "DEF_CREATE_MAILUSER"},
    {PR_DEF_CREATE_DL, "DEF_CREATE_DL"},
    {PR_PROVIDER_DISPLAY_W, "PROVIDER_DISPLAY"},
    {PR_RESOURCE_FLAGS, "RESOURCE_FLAGS"},
    {PR_SERVICE_NAME_W, "SERVICE_NAME"},
    {PR_SERVICE_DLL_NAME_W, "SERVICE_DLL_NAME"},
    {PR_SERVICE_ENTRY_NAME, "SERVICE_ENTRY_NAME"},
    {PR_SERVICE_UID, "SERVICE_UID"},
    {PR_SERVICE_SUPPORT_FILES_W, "SERVICE_SUPPORT_FILES"},
    {PR_SERVICE_DELETE_FILES_W, "SERVICE_DELETE_FILES"},
    {UAB_PR_FILE_NAME_W, "FILE_NAME"},
    {0x6601001F, "VCARD_FOLDER"},  // the vCard provider's own
    {0x66020102, "VCARD_UID"},
    {0x6603001F, "VCARD_TEXT"},
    {0x66040003, "VCARD_SKIPPED"},
};

Json Array(const SPropValue& value) {
  Json items = Json::array();
  for (ULONG i = 0; i < value.Value.MVbin.cValues; ++i) {
    switch (PropType(value.ulPropTag)) {
      case PT_MV_UNICODE:
        items.push_back(ToUtf8(value.Value.MVszW.lppszW[i]));
        break;
      case PT_MV_STRING8:
        items.push_back(ToUtf8(ToWide(value.Value.MVszA.lppszA[i]).c_str()));
        break;
      case PT_MV_BINARY:
        items.push_back(ToHex(value.Value.MVbin.lpbin[i].lpb, value.Value.MVbin.lpbin[i].cb));
        break;
      case PT_MV_LONG:
        items.push_back(value.Value.MVl.lpl[i]);
        break;
      default:
        items.push_back("?");
    }
  }
  return items;
}

constexpr LONG kRowsAtOnce = 64;

}  // namespace

std::string PropertyName(ULONG tag) {
  for (const Name& name : kNames) {
    if (PropId(name.tag) == PropId(tag)) return name.name;
  }
  char text[16];
  std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(tag));
  return text;
}

ULONG PropertyTag(const std::string& text) {
  for (const Name& name : kNames) {
    if (EqualsNoCase(text, name.name)) return name.tag;
  }
  const char* begin = text.c_str() + (text.rfind("0x", 0) == 0 ? 2 : 0);
  ULONG tag = 0;
  auto [end, error] = std::from_chars(begin, text.c_str() + text.size(), tag, 16);
  return error == std::errc() && *end == '\0' ? tag : 0;
}

Json PropertyValue(const SPropValue& value) {
  if ((value.ulPropTag & MV_FLAG) != 0) return Array(value);
  switch (PropType(value.ulPropTag)) {
    case PT_UNICODE:
      return ToUtf8(value.Value.lpszW);
    case PT_STRING8:
      return value.Value.lpszA == nullptr ? Json() : Json(ToUtf8(ToWide(value.Value.lpszA).c_str()));
    case PT_BINARY:
      return ToHex(value.Value.bin.lpb, value.Value.bin.cb);
    case PT_LONG:
      return value.Value.ul;
    case PT_I2:
      return value.Value.i;
    case PT_I8:
    case PT_CURRENCY:
      return value.Value.li;
    case PT_R4:
      return value.Value.flt;
    case PT_DOUBLE:
    case PT_APPTIME:
      return value.Value.dbl;
    case PT_BOOLEAN:
      return value.Value.b != 0;
    case PT_ERROR:
      return NameOf(value.Value.err);
    default:
      return "(object)";
  }
}

std::string TextOf(const SPropValue& value, ULONG tag) {
  return value.ulPropTag == tag && PropType(tag) == PT_UNICODE ? ToUtf8(value.Value.lpszW) : std::string();
}

std::string BytesOf(const SPropValue& value, ULONG tag) {
  if (value.ulPropTag != tag || PropType(tag) != PT_BINARY || value.Value.bin.lpb == nullptr) return {};
  return {reinterpret_cast<const char*>(value.Value.bin.lpb), value.Value.bin.cb};
}

ULONG NumberOf(const SPropValue& value, ULONG tag) { return value.ulPropTag == tag ? value.Value.ul : 0; }

HRESULT Properties::Read(IMAPIProp* object, SPropTagArray* tags) {
  count_ = 0;
  return object->GetProps(tags, MAPI_UNICODE, &count_, values_.Put());
}

void ReadSetup(IMAPITable* table, SPropTagArray* columns) {
  Check(table->SetColumns(columns, 0), "choose the columns of a table");
  Check(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), "go to the first row of a table");
}

bool ReadSome(IMAPITable* table, Rows& rows) {
  Check(table->QueryRows(kRowsAtOnce, 0, rows.Put()), "read a table");
  return rows.get() != nullptr && rows->cRows != 0;
}

}  // namespace host
