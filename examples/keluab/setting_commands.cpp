// keluab path, pab, directory: the profile's search path, personal address book and default directory.
#include <memory>

#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "values.h"

namespace host {
namespace {

using namespace uab;

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
  Check(book->SetSearchPath(0, path.get()), "set the search path");
}

void Path(Context& context, const std::vector<std::string>& references) {
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

using Getter = HRESULT (UAB_CALL IAddrBook::*)(ULONG*, ENTRYID**);
using Setter = HRESULT (UAB_CALL IAddrBook::*)(ULONG, ENTRYID*);

void OneContainer(Context& context, const std::string& reference, const std::string& what, Getter get, Setter set) {
  Library library(context.app_key);
  Session session(library, context.profile);
  if (!reference.empty()) {
    std::string id = FindContainer(session.book(), reference).id;
    Check((session.book()->*set)(IdSize(id), IdPointer(id)), "make '" + reference + "' the " + what);
  }
  ULONG size = 0;
  Buffer<ENTRYID> entry;
  Check((session.book()->*get)(&size, entry.Put()), "read the " + what);
  std::string id(reinterpret_cast<const char*>(entry.get()), size);
  context.output.PrintObject(
      {{"container", PathOf(ListContainers(session.book()), id)}, {"id", ToHex(id.data(), id.size())}});
}

}  // namespace

void AddSettingCommands(CLI::App& app, Context& context) {
  auto references = std::make_shared<std::vector<std::string>>();
  CLI::App* command = app.add_subcommand("path", "show or set the search path");
  command->add_option("containers", *references, "the containers in search order");
  AddProfileOption(command, context);
  command->callback([&context, references] { Path(context, *references); });

  auto pab = std::make_shared<std::string>();
  command = app.add_subcommand("pab", "show or set the personal address book");
  command->add_option("container", *pab, "a modifiable container");
  AddProfileOption(command, context);
  command->callback([&context, pab] {
    OneContainer(context, *pab, "personal address book", &IAddrBook::GetPAB, &IAddrBook::SetPAB);
  });

  auto directory = std::make_shared<std::string>();
  command = app.add_subcommand("directory", "show or set the default directory");
  command->add_option("container", *directory, "a container with recipients");
  AddProfileOption(command, context);
  command->callback([&context, directory] {
    OneContainer(context, *directory, "default directory", &IAddrBook::GetDefaultDir, &IAddrBook::SetDefaultDir);
  });
}

}  // namespace host
