// The files behind the registry outside Windows: a hive in which each folder and file may be anything, read and changed
// through the registry calls.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <vector>

#include "fuzz/input.h"
#include "platform/posix/registry_name.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "support/hive.h"

namespace uab::fuzz {
namespace {

constexpr LSTATUS kSuccess = ERROR_SUCCESS;
constexpr int kDeepest = 3;
const Text kNames[] = {UAB_TEXT("a"), UAB_TEXT("A b"), UAB_TEXT("b"), UAB_TEXT("\u00C4."), Text(240, UAB_TEXT('x'))};

std::string HivePath() {
  static const TestHive place;
  static const std::filesystem::path folder = place.Folder() / "config/keluab/registry";
  std::filesystem::create_directories(folder.parent_path());
  return folder.string();
}

Text DrawName(Input& input) {
  Text name = input.OneIn(8) ? input.Words(70) : kNames[input.Below(std::size(kNames))];
  if (input.OneIn(32)) name.push_back(0);
  return name;
}

std::string AsBytes(const void* data, std::size_t size) { return {static_cast<const char*>(data), size}; }

// A key file or a value file: well made, with one field or byte changed, cut, or any bytes.
std::string DrawContent(Input& input, bool value, const Text& name) {
  if (input.OneIn(4)) return std::string(input.Bytes());
  const std::string data(input.Bytes(40));
  std::uint32_t header[4] = {0x3156414B, input.Byte(), static_cast<std::uint32_t>(name.size()),
                             static_cast<std::uint32_t>(data.size())};
  if (!value) header[0] = input.Byte(), header[1] = 0;
  if (input.OneIn(8)) header[input.Below(4)] = input.Draw<std::uint32_t>();
  std::string content = AsBytes(header, value ? 16 : 12) + AsBytes(name.data(), name.size() * sizeof(WCHAR));
  if (value) content += data;
  if (input.OneIn(8)) content[input.Below(12)] = static_cast<char>(input.Byte());
  if (input.OneIn(8)) content.resize(content.size() / 2);
  return content;
}

void WriteFile(const std::string& path, std::string_view content) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
  if (file < 0) return;
  (void)!write(file, content.data(), content.size());
  close(file);
}

// Fills a folder with what might lie in it.
void MakeEntries(Input& input, const std::string& folder, int depth) {
  for (std::size_t left = input.Below(5); left > 0 && !input.done(); --left) {
    const Text name = DrawName(input);
    const std::string key = folder + "/" + KeyFolderName(name), value = folder + "/" + ValueFileName(name);
    switch (input.Below(8)) {
      case 0:  // a folder or a link where a file is expected, and the other way round
        (void)mkdir((input.OneIn(2) ? value : folder + "/.new").c_str(), 0700);
        break;
      case 1:
        (void)!symlink(input.OneIn(2) ? "." : ".key", (input.OneIn(2) ? value : key).c_str());
        break;
      case 2:
        if (input.OneIn(4)) {
          (void)mkfifo((folder + "/.key").c_str(), 0600);
        } else {
          WriteFile(key, input.Bytes(20));
        }
        break;
      case 3:
      case 4:
        WriteFile(value, DrawContent(input, true, input.OneIn(8) ? DrawName(input) : name));
        break;
      default:
        (void)mkdir(key.c_str(), 0700);
        if (!input.OneIn(8)) WriteFile(key + "/.key", DrawContent(input, false, name));
        if (depth < kDeepest) MakeEntries(input, key, depth + 1);
    }
  }
}

Text Folded(const Text& name) {
  const std::string folded = KeyFolderName(name);
  return Text(folded.begin(), folded.end());
}

// The names by their index, all different and in order.
std::vector<Text> Names(HKEY key, LSTATUS (*enumerate)(HKEY, DWORD, WCHAR*, DWORD) noexcept) {
  static WCHAR buffer[16384];
  std::vector<Text> names;
  std::set<Text> folded;
  for (DWORD index = 0;; ++index) {
    LSTATUS status = enumerate(key, index, buffer, 16384);
    if (status != kSuccess) {
      Expect(status == ERROR_NO_MORE_ITEMS, "a walk ends at the end");
      return names;
    }
    names.emplace_back(buffer);
    Expect(folded.insert(Folded(names.back())).second, "a name comes once");
  }
}

// What stands first is told whole.
void ReadFirst(HKEY key) {
  static WCHAR name[16384];
  DWORD chars = 16384, type = 0, size = 1000, other_type = 0, other_size = 1000;
  BYTE data[1000], other[1000];
  if (Sys().reg_enum_value(key, 0, name, &chars, nullptr, &type, data, &size) == kSuccess) {
    Expect(Sys().reg_query_value(key, name, nullptr, &other_type, other, &other_size) == kSuccess &&
               type == other_type && AsBytes(data, size) == AsBytes(other, other_size),
           "a listed value is the one that can be found");
  }
}

// What a walk finds can be found by its name.
void ReadTree(HKEY key, int depth) {
  ReadFirst(key);
  for (const Text& name : Names(key, &EnumValueName)) {
    DWORD type = 0, size = 0;
    Expect(Sys().reg_query_value(key, name.c_str(), nullptr, &type, nullptr, &size) == kSuccess,
           "a value can be found");
    Expect(size < 1000, "a value is as long as its file");
    std::string data(size + 1, '\0');
    Expect(Sys().reg_query_value(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size) ==
               kSuccess,
           "a value can be read");
  }
  for (const Text& name : Names(key, &EnumSubkey)) {
    UniqueKey below;
    Expect(Succeeded(OpenKey(key, name.c_str(), KEY_ALL_ACCESS, &below)), "a key can be found");
    if (depth < 2 * kDeepest) ReadTree(below.Get(), depth + 1);
  }
}

bool Contains(const std::vector<Text>& names, const Text& name) {
  return std::any_of(names.begin(), names.end(), [&](const Text& each) { return SameName(each, name); });
}

// A name as the calls take it: it ends at a NUL, and has no backslash.
bool IsPlain(const Text& name) { return !name.empty() && name.find(UAB_TEXT('\\')) == Text::npos && name.back() != 0; }

void Change(Input& input, HKEY key) {
  const Text name = DrawName(input);
  if (!IsPlain(name)) return;
  UniqueKey below;
  switch (input.Below(4)) {
    case 0: {
      const std::string data(input.Bytes(30));
      if (Failed(SetValue(key, name.c_str(), REG_BINARY, {reinterpret_cast<const BYTE*>(data.data()), data.size()}))) {
        return;
      }
      BYTE read[30];
      DWORD size = sizeof(read);
      Expect(Sys().reg_query_value(key, name.c_str(), nullptr, nullptr, read, &size) == kSuccess &&
                 data == AsBytes(read, size),
             "a value reads back");
      Expect(Contains(Names(key, &EnumValueName), name), "a value that was set is listed");
      return;
    }
    case 1:
      if (Succeeded(DeleteValue(key, name.c_str()))) {
        Expect(!Contains(Names(key, &EnumValueName), name), "a deleted value is gone");
      }
      return;
    case 2:
      if (Failed(CreateKey(key, name.c_str(), &below, nullptr))) return;
      Expect(Contains(Names(key, &EnumSubkey), name), "a key that was made is listed");
      if (!input.done()) Change(input, below.Get());
      return;
    default:
      if (Sys().reg_delete_key(key, name.c_str()) == kSuccess) {
        Expect(!Contains(Names(key, &EnumSubkey), name), "a deleted key is gone");
      }
  }
}

}  // namespace

void FuzzOne(Input input) {
  static const std::string hive = HivePath();
  (void)mkdir(hive.c_str(), 0700);
  if (!input.OneIn(4)) WriteFile(hive + "/.key", input.OneIn(4) ? input.Bytes(30) : "");
  MakeEntries(input, hive, 0);
  UniqueKey root;
  if (Sys().reg_open_key(HKEY_CURRENT_USER, UAB_TEXT(""), 0, KEY_ALL_ACCESS, root.Put()) == kSuccess) {
    ReadTree(root.Get(), 0);
    for (int changes = 0; changes < 8 && !input.done(); ++changes) Change(input, root.Get());
    WCHAR name[kKeyNameCapacity];
    (void)DeleteKeyTree(root.Get(), name);
    ReadTree(root.Get(), 0);
  }
  root.Reset();
  std::filesystem::remove_all(hive);
}

}  // namespace uab::fuzz
