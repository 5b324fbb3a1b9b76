#include "fuzz/values.h"

namespace uab::fuzz {
namespace {

constexpr ULONG kTypes[] = {
    PT_UNSPECIFIED, PT_NULL,       PT_I2,         PT_LONG,     PT_R4,        PT_DOUBLE,      PT_CURRENCY,   PT_APPTIME,
    PT_ERROR,       PT_BOOLEAN,    PT_OBJECT,     PT_I8,       PT_STRING8,   PT_UNICODE,     PT_SYSTIME,    PT_CLSID,
    PT_BINARY,      PT_MV_I2,      PT_MV_LONG,    PT_MV_R4,    PT_MV_DOUBLE, PT_MV_CURRENCY, PT_MV_APPTIME, PT_MV_I8,
    PT_MV_STRING8,  PT_MV_UNICODE, PT_MV_SYSTIME, PT_MV_CLSID, PT_MV_BINARY, 0x100D,         0x1001,
};
constexpr ULONG kTags[] = {
    PR_ENTRYID,
    PR_OBJECT_TYPE,
    PR_DISPLAY_NAME_W,
    PR_CONTAINER_FLAGS,
    PR_DEPTH,
    PR_DISPLAY_TYPE,
    PR_ADDRTYPE_W,
    PR_EMAIL_ADDRESS_W,
    PR_RECIPIENT_TYPE,
    PR_NULL,
    PR_CONTAINER_CONTENTS,
    PR_CONTAINER_HIERARCHY,
    PR_CREATE_TEMPLATES,
    PR_DEF_CREATE_DL,
    PR_DEF_CREATE_MAILUSER,
    PR_AB_SEARCH_PATH,
    PR_AB_DEFAULT_DIR,
    PR_AB_DEFAULT_PAB,
    PR_SERVICE_UID,
    PR_SERVICE_NAME_W,
    PR_SERVICE_DLL_NAME_W,
    PR_SERVICE_ENTRY_NAME,
    PR_SERVICE_SUPPORT_FILES_W,
    PR_RESOURCE_FLAGS,
    PR_DEFAULT_PROFILE,
    PR_COMMENT_W,
    PR_DISPLAY_NAME_A,
    PR_INSTANCE_KEY,
    UAB_PR_FILE_NAME_W,
};

template <typename T>
T* Link(std::size_t bytes, void* head) {
  T* block = nullptr;
  Expect(Succeeded(AllocateLinkedInto(block, std::max<std::size_t>(bytes, 1), head)), "there is memory");
  return block;
}

template <typename Char>
Char* DrawString(Input& input, void* head) {
  if (input.OneIn(16)) return nullptr;
  Text text = input.Words();
  Char* copy = Link<Char>((text.size() + 1) * sizeof(Char), head);
  std::transform(text.begin(), text.end(), copy, [](WCHAR unit) { return static_cast<Char>(unit); });
  return copy;
}

SBinary DrawRun(Input& input, void* head, std::span<const std::string> ids) {
  if (input.OneIn(16)) return {input.Byte(), nullptr};
  std::string_view bytes;
  if (!ids.empty() && !input.OneIn(4)) {
    bytes = ids[input.Below(ids.size())];
  } else {
    bytes = input.Bytes();
  }
  SBinary run = {static_cast<ULONG>(bytes.size()), Link<BYTE>(bytes.size(), head)};
  std::copy(bytes.begin(), bytes.end(), run.lpb);
  return run;
}

// An array of any element type that holds no pointer: 16 bytes for each element are room for all.
void DrawPlainArray(Input& input, SPropValueUnion& value, void* head) {
  std::string_view bytes = input.Bytes(16 * value.MVl.cValues);
  value.MVl.lpl = Link<LONG>(16 * std::size_t{value.MVl.cValues}, head);
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<BYTE*>(value.MVl.lpl));
}

template <typename Char>
bool SameText(const Char* a, const Char* b) {
  static constexpr Char kNone[1] = {};
  return std::basic_string_view<Char>(a ? a : kNone) == std::basic_string_view<Char>(b ? b : kNone);
}

// A run without memory reads as so many zeros when it is stored inside an array.
bool SameRun(const SBinary& a, const SBinary& b) {
  if (a.cb != b.cb) return false;
  return a.lpb == nullptr || b.lpb == nullptr || std::equal(a.lpb, a.lpb + a.cb, b.lpb);
}

std::size_t ElementBytes(ULONG type) {
  switch (type) {
    case PT_MV_I2:
      return 2;
    case PT_MV_LONG:
    case PT_MV_R4:
      return 4;
    case PT_MV_CLSID:
      return 16;
    default:
      return 8;
  }
}

}  // namespace

ULONG DrawTag(Input& input) {
  std::size_t choice = input.Byte();
  if (choice < std::size(kTags)) return kTags[choice];
  if (choice == 255) return input.Draw<ULONG>();
  if (choice >= 128) return WithPropType(kTags[choice % std::size(kTags)], input.OneOf<ULONG>(kTypes));
  return PropTag(input.OneOf<ULONG>(kTypes), 0x6700 + static_cast<ULONG>(choice));
}

SPropValue DrawValue(Input& input, ULONG tag, void* head, std::span<const std::string> ids) {
  SPropValue value{};
  value.ulPropTag = tag;
  SPropValueUnion& data = value.Value;
  const ULONG type = PropType(tag);
  if ((type & MV_FLAG) != 0) {
    const auto count = static_cast<ULONG>(input.Below(6));
    data.MVbin = {count, nullptr};
    if (count != 0 && input.OneIn(16)) return value;
    if (type == PT_MV_STRING8) {
      data.MVszA.lppszA = Link<char*>(count * sizeof(char*), head);
      for (ULONG i = 0; i < count; ++i) data.MVszA.lppszA[i] = DrawString<char>(input, head);
    } else if (type == PT_MV_UNICODE) {
      data.MVszW.lppszW = Link<WCHAR*>(count * sizeof(WCHAR*), head);
      for (ULONG i = 0; i < count; ++i) data.MVszW.lppszW[i] = DrawString<WCHAR>(input, head);
    } else if (type == PT_MV_BINARY) {
      data.MVbin.lpbin = Link<SBinary>(count * sizeof(SBinary), head);
      for (ULONG i = 0; i < count; ++i) data.MVbin.lpbin[i] = DrawRun(input, head, ids);
    } else {
      DrawPlainArray(input, data, head);
    }
    return value;
  }
  switch (type) {
    case PT_STRING8:
      data.lpszA = DrawString<char>(input, head);
      break;
    case PT_UNICODE:
      data.lpszW = DrawString<WCHAR>(input, head);
      break;
    case PT_BINARY:
      data.bin = DrawRun(input, head, ids);
      break;
    case PT_CLSID:
      if (input.OneIn(16)) break;
      data.lpguid = Link<GUID>(sizeof(GUID), head);
      *data.lpguid = input.Draw<GUID>();
      break;
    case PT_LONG:
      data.l = input.OneIn(4) ? input.Draw<LONG>() : static_cast<LONG>(input.Byte());
      break;
    default:
      data.li = input.Draw<LONGLONG>();
  }
  return value;
}

ChainPtr<SPropValue> DrawValues(Input& input, ULONG count, std::span<const std::string> ids) {
  ChainPtr<SPropValue> values;
  if (count == 0) return values;
  Expect(Succeeded(AllocateInto(values, count * sizeof(SPropValue))), "there is memory");
  for (ULONG i = 0; i < count; ++i) values.Get()[i] = DrawValue(input, DrawTag(input), values.Get(), ids);
  return values;
}

ChainPtr<SPropTagArray> DrawTags(Input& input, std::size_t most) {
  ChainPtr<SPropTagArray> tags;
  if (input.OneIn(8)) return tags;
  const std::size_t count = input.Below(most + 1);
  Expect(Succeeded(AllocateInto(tags, TagArraySize(std::max<std::size_t>(count, 1)))), "there is memory");
  while (tags->cValues < count) {
    const ULONG tag = DrawTag(input);
    tags->aulPropTag[tags->cValues++] = tag;
  }
  return tags;
}

bool SameValue(const SPropValue& a, const SPropValue& b) {
  if (a.ulPropTag != b.ulPropTag) return false;
  const SPropValueUnion &x = a.Value, &y = b.Value;
  const ULONG type = PropType(a.ulPropTag);
  if ((type & MV_FLAG) != 0) {
    if (x.MVl.cValues != y.MVl.cValues) return false;
    const ULONG count = x.MVl.cValues;
    for (ULONG i = 0; i < count; ++i) {
      if (type == PT_MV_STRING8 && !SameText(x.MVszA.lppszA[i], y.MVszA.lppszA[i])) return false;
      if (type == PT_MV_UNICODE && !SameText(x.MVszW.lppszW[i], y.MVszW.lppszW[i])) return false;
      if (type == PT_MV_BINARY && !SameRun(x.MVbin.lpbin[i], y.MVbin.lpbin[i])) return false;
    }
    if (type == PT_MV_STRING8 || type == PT_MV_UNICODE || type == PT_MV_BINARY || count == 0) return true;
    return std::memcmp(x.MVl.lpl, y.MVl.lpl, count * ElementBytes(type)) == 0;
  }
  switch (type) {
    case PT_STRING8:
      return SameText(x.lpszA, y.lpszA);
    case PT_UNICODE:
      return SameText(x.lpszW, y.lpszW);
    case PT_BINARY:
      return SameRun(x.bin, y.bin);
    case PT_CLSID:
      return x.lpguid == nullptr || y.lpguid == nullptr || *x.lpguid == *y.lpguid;
    case PT_I2:
    case PT_BOOLEAN:
      return x.i == y.i;
    case PT_LONG:
    case PT_ERROR:
    case PT_R4:
      return x.l == y.l;
    default:
      return x.li == y.li;
  }
}

}  // namespace uab::fuzz
