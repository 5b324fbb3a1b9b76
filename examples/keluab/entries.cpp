#include "entries.h"

#include <algorithm>

#include "failure.h"
#include "text.h"

namespace host {

using namespace uab;

namespace {

// The longest container whose path the reference begins with; the end when there is none.
std::vector<Container>::const_iterator LongestPrefix(const std::vector<Container>& containers,
                                                     const std::string& reference) {
  auto best = containers.end();
  for (auto it = containers.begin(); it != containers.end(); ++it) {
    bool fits = reference.compare(0, it->path.size(), it->path) == 0 &&
                (reference.size() == it->path.size() || reference[it->path.size()] == '/');
    if (fits && (best == containers.end() || it->path.size() > best->path.size())) best = it;
  }
  return best;
}

constexpr std::size_t kShortestHexId = 40;  // an identifier has at least 20 bytes

bool IsHexId(const std::string& reference, std::string& id) {
  return reference.size() >= kShortestHexId && FromHex(reference, id);
}

Entry EntryOfContainer(const Container& container) { return {container.id, container.name, MAPI_ABCONT, ""}; }

}  // namespace

ENTRYID* IdPointer(const std::string& id) { return reinterpret_cast<ENTRYID*>(const_cast<char*>(id.data())); }
ULONG IdSize(const std::string& id) { return static_cast<ULONG>(id.size()); }

const char* TypeName(ULONG object_type) {
  return object_type == MAPI_MAILUSER   ? "user"
         : object_type == MAPI_DISTLIST ? "list"
         : object_type == MAPI_ABCONT   ? "container"
                                        : "other";
}

std::vector<Container> ListContainers(IAddrBook* book) {
  ULONG type = 0;
  Com<IUnknown> root;
  Check(book->OpenEntry(0, nullptr, nullptr, 0, &type, root.Put()), "open the address book");
  Com<IABContainer> container;
  Check(root->QueryInterface(IID_IABContainer, reinterpret_cast<void**>(container.Put())), "open the address book");
  Com<IMAPITable> table;
  Check(container->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, table.Put()), "list the containers");
  static constexpr TagArray<4> kColumns = {4, {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_CONTAINER_FLAGS, PR_DEPTH}};
  std::vector<Container> containers;
  std::vector<std::string> names;  // from the top to the last row
  ForEachRow(table.get(), kColumns.address(), [&](const SRow& row) {
    Container next{TextOf(row.lpProps[0], PR_DISPLAY_NAME_W), "", BytesOf(row.lpProps[1], PR_ENTRYID),
                   NumberOf(row.lpProps[2], PR_CONTAINER_FLAGS), NumberOf(row.lpProps[3], PR_DEPTH)};
    names.resize(std::min<std::size_t>(names.size(), next.depth));
    names.push_back(next.name);
    for (const std::string& name : names) next.path += (next.path.empty() ? "" : "/") + name;
    containers.push_back(std::move(next));
    return true;
  });
  return containers;
}

Com<IUnknown> OpenObject(IAddrBook* book, const std::string& id, ULONG flags, const std::string& what) {
  ULONG type = 0;
  Com<IUnknown> object;
  Check(book->OpenEntry(IdSize(id), IdPointer(id), nullptr, flags, &type, object.Put()), "open " + what);
  if (!object) throw Failure(kExitFailed, "Can't open " + what + ": the provider gave nothing.");
  return object;
}

Com<IMAPIProp> OpenProps(IAddrBook* book, const std::string& id, ULONG flags, const std::string& what) {
  Com<IMAPIProp> props;
  Check(OpenObject(book, id, flags, what)->QueryInterface(IID_IMAPIProp, reinterpret_cast<void**>(props.Put())),
        "read " + what);
  return props;
}

Com<IABContainer> OpenContainer(IAddrBook* book, const std::string& id, const std::string& what) {
  Com<IUnknown> object = OpenObject(book, id, MAPI_MODIFY, what);
  Com<IABContainer> container;
  HRESULT hr = object->QueryInterface(IID_IABContainer, reinterpret_cast<void**>(container.Put()));
  // A distribution list has the same slots under its own identifier.
  if (Failed(hr)) hr = object->QueryInterface(IID_IDistList, reinterpret_cast<void**>(container.Put()));
  Check(hr, "open the contents of " + what);
  return container;
}

Com<IMAPITable> OpenContents(IAddrBook* book, const std::string& container_id) {
  Com<IMAPITable> table;
  HRESULT hr = OpenContainer(book, container_id, "a container")->GetContentsTable(MAPI_UNICODE, table.Put());
  if (hr == MAPI_E_NO_SUPPORT) return {};  // a container of containers only
  Check(hr, "list a container's entries");
  return table;
}

SPropTagArray* EntryColumns() {
  static constexpr TagArray<4> kColumns = {4, {PR_ENTRYID, PR_DISPLAY_NAME_W, PR_OBJECT_TYPE, PR_EMAIL_ADDRESS_W}};
  return kColumns.address();
}

Entry EntryOf(const SRow& row) {
  return {BytesOf(row.lpProps[0], PR_ENTRYID), TextOf(row.lpProps[1], PR_DISPLAY_NAME_W),
          NumberOf(row.lpProps[2], PR_OBJECT_TYPE), TextOf(row.lpProps[3], PR_EMAIL_ADDRESS_W)};
}

Container FindContainer(IAddrBook* book, const std::string& reference) {
  std::vector<Container> containers = ListContainers(book);
  std::string id;
  bool hex = IsHexId(reference, id);
  for (const Container& container : containers) {
    if (hex ? container.id == id : container.path == reference) return container;
  }
  for (const Container& container : containers) {
    if (!hex && container.name == reference) return container;
  }
  throw Failure(kExitNotFound, "No container '" + reference + "': see 'keluab tree'.");
}

Entry FindEntry(IAddrBook* book, const std::string& reference) {
  std::string id;
  if (IsHexId(reference, id)) return {id, reference, 0, ""};
  std::vector<Container> containers = ListContainers(book);
  auto container = LongestPrefix(containers, reference);
  if (container == containers.end()) {
    throw Failure(kExitNotFound,
                  "No entry '" + reference + "': give CONTAINER/NAME, or an identifier that 'find' prints.");
  }
  if (container->path.size() == reference.size()) return EntryOfContainer(*container);
  std::string name = reference.substr(container->path.size() + 1);
  Entry result;
  ForEachEntry(book, container->id, [&](const Entry& entry) {
    if (entry.name == name) result = entry;
    return result.id.empty();
  });
  if (result.id.empty())
    throw Failure(kExitNotFound, "No entry '" + name + "' in '" + container->path + "': see 'keluab find'.");
  return result;
}

}  // namespace host
