#include "card_props.h"

#include "card_editor.h"
#include "card_reader.h"

namespace uab::vcard {

Properties CardProperties(std::string_view text, std::string entry_id, bool group) {
  const CardSummary summary = Summarize(text);
  Properties properties;
  properties.AddText(PR_DISPLAY_NAME_W, summary.name);
  properties.AddBytes(PR_INSTANCE_KEY, entry_id);
  properties.AddBytes(PR_ENTRYID, std::move(entry_id));
  properties.Add(PR_OBJECT_TYPE, group ? MAPI_DISTLIST : MAPI_MAILUSER);
  properties.Add(PR_DISPLAY_TYPE, group ? DT_DISTLIST : DT_MAILUSER);
  if (!group && !summary.fax.empty()) {
    properties.AddText(PR_ADDRTYPE_W, "FAX");
    properties.AddText(PR_EMAIL_ADDRESS_W, summary.fax);
    properties.AddBytes(PR_SEARCH_KEY, "FAX:" + summary.fax);
  }
  if (!summary.note.empty()) properties.AddText(PR_COMMENT_W, summary.note);
  return properties;
}

bool ApplyProperty(std::string& text, const Property& property) {
  switch (property.tag) {
    case PR_NULL:
      return true;
    case PR_DISPLAY_NAME_W:
      return SetName(text, ToUtf8(property.text));
    case PR_EMAIL_ADDRESS_W:
      return SetFax(text, ToUtf8(property.text));
    case PR_COMMENT_W:
      return SetNote(text, ToUtf8(property.text));
    case PR_VCARD_TEXT_W:
      return AdoptText(text, ToUtf8(property.text, true));
    case PR_ADDRTYPE_W:
      return EqualNoCase(ToUtf8(property.text), "FAX");
    default:
      return false;
  }
}

Property FromValue(const SPropValue& value) {
  Property property;
  property.tag = value.ulPropTag;
  if (PropType(value.ulPropTag) == PT_UNICODE && value.Value.lpszW != nullptr) property.text = value.Value.lpszW;
  return property;
}

}  // namespace uab::vcard
