// keluab path, pab, directory: the profile's search path, personal address book and default directory.
#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

// The container's path, or its identifier when the hierarchy does not have it.
std::string PathOf(const std::vector<Container>& containers, const std::string& id) {
  for (const Container& container : containers) {
    if (container.id == id) return container.path;
  }
  return ToHex(id.data(), id.size());
}

void SetPath(IAddrBook* book, const std::vector<std::string>& references) {
  void* block = nullptr;
  Check(UABAllocateBuffer(static_cast<ULONG>(8 + 16 * references.size()), &block), "allocate memory");
  Rows path;
  *path.Put() = static_cast<SRowSet*>(block);
  for (const std::string& reference : references) {
    std::string id = FindContainer(book, reference).id;
    SRow& row = path->aRow[path->cRows];
    Check(UABAllocateBuffer(sizeof(SPropValue), &block), "allocate memory");
    row.lpProps = static_cast<SPropValue*>(block);
    row.cValues = 1;
    ++path->cRows;
    Check(UABAllocateMore(IdSize(id), row.lpProps, &block), "allocate memory");
    std::copy(id.begin(), id.end(), static_cast<char*>(block));
    row.lpProps[0].ulPropTag = PR_ENTRYID;
    row.lpProps[0].Value.bin = {IdSize(id), static_cast<BYTE*>(block)};
  }
  Check(book->SetSearchPath(0, path.get()), "set the search path",
        "It takes containers that are for recipients: see 'keluab tree'.");
}

using Getter = HRESULT (UAB_CALL IAddrBook::*)(ULONG*, ENTRYID**);
using Setter = HRESULT (UAB_CALL IAddrBook::*)(ULONG, ENTRYID*);

void OneContainer(Context& context, const std::string& reference, const std::string& what, const std::string& holds,
                  Getter get, Setter set) {
  Library library(context.app_key);
  Session session(library, context.profile);
  if (!reference.empty()) {
    std::string id = FindContainer(session.book(), reference).id;
    Check((session.book()->*set)(IdSize(id), IdPointer(id)), "make '" + reference + "' the " + what,
          "It takes a container that is " + holds + ": see 'keluab tree'.");
  }
  ULONG size = 0;
  Buffer<ENTRYID> entry;
  Check((session.book()->*get)(&size, entry.Put()), "read the " + what,
        "No container of the profile is " + holds + ": see 'keluab tree'.");
  std::string id(reinterpret_cast<const char*>(entry.get()), size);
  context.output.PrintObject(
      {{"container", PathOf(ListContainers(session.book()), id)}, {"id", ToHex(id.data(), id.size())}});
}

}  // namespace

void SearchPathSetting(Context& context, const std::vector<std::string>& references) {
  Library library(context.app_key);
  Session session(library, context.profile);
  if (!references.empty()) SetPath(session.book(), references);
  std::vector<Container> containers = ListContainers(session.book());
  Rows path;
  HRESULT hr = session.book()->GetSearchPath(0, path.Put());
  if (hr != MAPI_E_NOT_FOUND) Check(hr, "read the search path");
  Json rows = Json::array();
  for (ULONG i = 0; path.get() != nullptr && i < path->cRows; ++i) {
    std::string id = BytesOf(path->aRow[i].lpProps[0], PR_ENTRYID);
    rows.push_back({{"container", PathOf(containers, id)}, {"id", ToHex(id.data(), id.size())}});
  }
  context.output.PrintTable({{"container", "SEARCH PATH"}}, rows, "The search path is empty.");
}

void PersonalBookSetting(Context& context, const std::string& container) {
  OneContainer(context, container, "personal address book", "modifiable", &IAddrBook::GetPAB, &IAddrBook::SetPAB);
}

void DefaultDirectorySetting(Context& context, const std::string& container) {
  OneContainer(context, container, "default directory", "for recipients", &IAddrBook::GetDefaultDir,
               &IAddrBook::SetDefaultDir);
}

}  // namespace host
