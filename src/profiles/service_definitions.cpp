#include "profiles/service_definitions.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <unordered_set>

#include "frame/module.h"
#include "keluab/codes.h"
#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/system_calls.h"
#include "platform/text_length.h"

namespace uab {
namespace {

constexpr DWORD kFirstSectionChars = 2048;

constexpr ULONG kRowTags[kServiceRowValues] = {
    PR_INSTANCE_KEY,       PR_SERVICE_NAME_W,     PR_PROVIDER_DISPLAY_W,      PR_DISPLAY_NAME_W,
    PR_SERVICE_DLL_NAME_W, PR_SERVICE_ENTRY_NAME, PR_SERVICE_SUPPORT_FILES_W, PR_SERVICE_DELETE_FILES_W,
    PR_SERVICE_UID,        PR_RESOURCE_FLAGS,
};

using Text = std::basic_string_view<WCHAR>;

struct Key {
  Text name;
  ServiceRowIndex value;
};
constexpr Key kKeys[] = {
    {UAB_TEXT("PR_DISPLAY_NAME"), kDisplayNameValue},
    {UAB_TEXT("PR_SERVICE_DLL_NAME"), kLibraryNameValue},
    {UAB_TEXT("PR_SERVICE_ENTRY_NAME"), kEntryNameValue},
    {UAB_TEXT("PR_SERVICE_SUPPORT_FILES"), kSupportFilesValue},
    {UAB_TEXT("PR_SERVICE_DELETE_FILES"), kDeleteFilesValue},
    {UAB_TEXT("PR_RESOURCE_FLAGS"), kResourceFlagsValue},
};

struct FlagWord {
  Text word;
  ULONG flag;
};
constexpr FlagWord kFlagWords[] = {{UAB_TEXT("SERVICE_SINGLE_COPY"), SERVICE_SINGLE_COPY}};

constexpr WCHAR kEquals = UAB_TEXT('=');
constexpr WCHAR kBar = UAB_TEXT('|');
constexpr WCHAR kComma = UAB_TEXT(',');

constexpr bool IsBlank(WCHAR c) noexcept { return (c >= 9 && c <= 13) || c == 32; }

void SkipBlanks(Text& text) noexcept {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
}

// Takes the characters up to the next blank or stop from the front of text.
Text TakeWord(Text& text, WCHAR stop) noexcept {
  std::size_t length = 0;
  while (length < text.size() && text[length] != stop && !IsBlank(text[length])) ++length;
  Text word = text.substr(0, length);
  text.remove_prefix(length);
  return word;
}

// "name = value". The value keeps its trailing blanks and ends with the line's terminator.
struct Assignment {
  Text name;
  Text value;
};

// False: no "=" behind the name.
bool ParseAssignment(Text line, Assignment& result) noexcept {
  SkipBlanks(line);
  result.name = TakeWord(line, kEquals);
  SkipBlanks(line);
  if (line.empty() || line.front() != kEquals) return false;
  line.remove_prefix(1);
  SkipBlanks(line);
  result.value = line;
  return true;
}

// Runs body(line) for each line, until one fails.
template <typename Body>
HRESULT ForEachLine(const WCHAR* lines, Body body) {
  for (Text line(lines); !line.empty(); line = Text(line.data() + line.size() + 1)) {
    if (HRESULT hr = body(line); Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT LinkText(Text text, void* head, WCHAR*& copy) noexcept {
  WCHAR* block = nullptr;
  if (HRESULT hr = AllocateLinkedInto(block, (text.size() + 1) * sizeof(WCHAR), head); Failed(hr)) return hr;
  text.copy(block, text.size());  // the block is zeroed: the terminator stands
  copy = block;
  return S_OK;
}

// The name's code units and one zero byte: the length is odd.
HRESULT LinkInstanceKey(Text name, void* head, SBinary& key) noexcept {
  std::size_t bytes = name.size() * sizeof(WCHAR);
  if (HRESULT hr = AllocateLinkedInto(key.lpb, bytes + 1, head); Failed(hr)) return hr;
  std::memcpy(key.lpb, name.data(), bytes);
  key.cb = static_cast<ULONG>(bytes + 1);
  return S_OK;
}

// REQUIRES: text ends with a terminator.
HRESULT LinkAnsi(Text text, void* head, char*& copy) noexcept {
  int size = WideCharToMultiByte(CP_ACP, 0, text.data(), -1, nullptr, 0, nullptr, nullptr);
  if (size < 1) return E_OUTOFMEMORY;
  char* block = nullptr;
  if (HRESULT hr = AllocateLinkedInto(block, static_cast<std::size_t>(size), head); Failed(hr)) return hr;
  if (WideCharToMultiByte(CP_ACP, 0, text.data(), -1, block, size, nullptr, nullptr) < 1) return E_OUTOFMEMORY;
  copy = block;
  return S_OK;
}

// One block: a pointer for each item, then the text, cut at its commas.
HRESULT LinkList(Text text, void* head, SWStringArray& list) noexcept {
  std::size_t items = 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), kComma));
  WCHAR** item = nullptr;
  std::size_t size = items * sizeof(WCHAR*) + (text.size() + 1) * sizeof(WCHAR);
  if (HRESULT hr = AllocateLinkedInto(item, size, head); Failed(hr)) return hr;
  list = {static_cast<ULONG>(items), item};
  auto* copy = reinterpret_cast<WCHAR*>(item + items);
  *item++ = copy;
  for (WCHAR c : text) {
    *copy++ = c == kComma ? WCHAR{0} : c;
    if (c == kComma) *item++ = copy;
  }
  return S_OK;
}

// "WORD | WORD". Ends at whatever else follows a word.
ULONG ParseFlags(Text text) noexcept {
  ULONG flags = 0;
  for (;;) {
    SkipBlanks(text);
    Text word = TakeWord(text, kBar);
    for (const FlagWord& known : kFlagWords) {
      if (word == known.word) flags |= known.flag;
    }
    SkipBlanks(text);
    if (text.empty() || text.front() != kBar) return flags;
    text.remove_prefix(1);
  }
}

// One line of a service's section. Unknown keys are passed over; a repeated one replaces, but flags add up.
HRESULT ApplyLine(Text line, SPropValue* row) noexcept {
  Assignment given;
  if (!ParseAssignment(line, given)) return S_OK;
  for (const Key& key : kKeys) {
    if (key.name != given.name) continue;
    SPropValueUnion& value = row[key.value].Value;
    switch (key.value) {
      case kEntryNameValue:
        return LinkAnsi(given.value, row, value.lpszA);
      case kSupportFilesValue:
      case kDeleteFilesValue:
        return LinkList(given.value, row, value.MVszW);
      case kResourceFlagsValue:
        value.ul |= ParseFlags(given.value);
        return S_OK;
      default:
        return LinkText(given.value, row, value.lpszW);
    }
  }
  return S_OK;
}

// One line of a list section, as a row of its own.
HRESULT MakeRow(Text line, ChainPtr<SPropValue>& row) noexcept {
  if (HRESULT hr = AllocateInto(row, kServiceRowValues * sizeof(SPropValue)); Failed(hr)) return hr;
  SPropValue* values = row.Get();
  for (ULONG i = 0; i < kServiceRowValues; ++i) values[i].ulPropTag = kRowTags[i];
  Assignment service;
  if (!ParseAssignment(line, service) || service.value.empty()) return MAPI_E_BAD_VALUE;
  HRESULT hr = LinkInstanceKey(service.name, values, values[kInstanceKeyValue].Value.bin);
  if (Succeeded(hr)) hr = LinkText(service.name, values, values[kServiceNameValue].Value.lpszW);
  if (Succeeded(hr)) hr = LinkText(service.value, values, values[kProviderDisplayValue].Value.lpszW);
  return hr;
}

HRESULT MakeRows(const WCHAR* lines, RowSetPtr& rows) noexcept {
  if (HRESULT hr = AllocateHead(RowSetSize(CountLines(lines)), reinterpret_cast<void**>(rows.Put())); Failed(hr)) {
    return hr;
  }
  return ForEachLine(lines, [&](Text line) {
    ChainPtr<SPropValue> row;
    if (HRESULT hr = MakeRow(line, row); Failed(hr)) return hr;
    rows->aRow[rows->cRows++] = {0, kServiceRowValues, row.Detach()};
    return S_OK;
  });
}

HRESULT CheckNamesDiffer(const SRowSet& rows) {
  std::unordered_set<Text> names;
  for (ULONG i = 0; i < rows.cRows; ++i) {
    if (!names.insert(rows.aRow[i].lpProps[kServiceNameValue].Value.lpszW).second) return MAPI_E_COLLISION;
  }
  return S_OK;
}

HRESULT ReadServiceSection(const WCHAR* path, SPropValue* row) noexcept {
  ChainPtr<WCHAR> lines;
  if (HRESULT hr = ReadIniSection(path, row[kServiceNameValue].Value.lpszW, lines); Failed(hr)) return hr;
  return ForEachLine(lines.Get(), [row](Text line) { return ApplyLine(line, row); });
}

}  // namespace

HRESULT GetServiceDefinitionPath(PathBuffer& path) noexcept {
  return ModulePathWithExtension(ModuleInstance(), UAB_TEXT(".ini"), path) ? S_OK : E_FAIL;
}

HRESULT ReadIniSection(const WCHAR* path, const WCHAR* section, ChainPtr<WCHAR>& lines) noexcept {
  // A section that fills the buffer may have been cut. Twice the room each time keeps the cost of a large section
  // proportional to it.
  for (std::size_t chars = kFirstSectionChars;; chars *= 2) {
    ChainPtr<WCHAR> buffer;
    if (HRESULT hr = AllocateInto(buffer, chars * sizeof(WCHAR)); Failed(hr)) return hr;
    SetLastError(ERROR_SUCCESS);
    DWORD stored = Sys().get_private_profile_section(section, buffer.Get(), static_cast<DWORD>(chars), path);
    DWORD error = GetLastError();
    bool cut = stored >= chars - 2;
    if (error != ERROR_SUCCESS && !(cut && error == ERROR_MORE_DATA)) {
      return error == ERROR_FILE_NOT_FOUND ? E_FAIL : E_INVALIDARG;
    }
    if (stored == 0) return E_INVALIDARG;
    if (cut) continue;
    lines = std::move(buffer);
    return S_OK;
  }
}

std::size_t CountLines(const WCHAR* lines) noexcept {
  std::size_t count = 0;
  for (const WCHAR* line = lines; *line != 0; line += TextLength(line) + 1) ++count;
  return count;
}

HRESULT ReadServiceDefinitions(const WCHAR* list_section, RowSetPtr& rows) noexcept {
  return at_boundary([&]() -> HRESULT {
    PathBuffer path;
    ChainPtr<WCHAR> list;
    RowSetPtr made;
    HRESULT hr = GetServiceDefinitionPath(path);
    if (Succeeded(hr)) hr = ReadIniSection(path, list_section, list);
    if (Succeeded(hr)) hr = MakeRows(list.Get(), made);
    if (Succeeded(hr)) hr = CheckNamesDiffer(*made.Get());
    for (ULONG i = 0; Succeeded(hr) && i < made->cRows; ++i) hr = ReadServiceSection(path, made->aRow[i].lpProps);
    if (Succeeded(hr)) rows = std::move(made);
    return hr;
  });
}

}  // namespace uab
