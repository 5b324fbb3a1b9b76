// keluab tree, show, find: reading the address book.
#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

std::string FlagNames(ULONG flags) {
  std::string text;
  if ((flags & AB_RECIPIENTS) != 0) text += "recipients ";
  if ((flags & AB_SUBCONTAINERS) != 0) text += "containers ";
  if ((flags & AB_MODIFIABLE) != 0) text += "modifiable ";
  if (!text.empty()) text.pop_back();
  return text;
}

}  // namespace

void ShowTree(Context& context, bool ids) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Json rows = Json::array();
  for (const Container& container : ListContainers(session.book())) {
    std::string shown = std::string(2 * container.depth, ' ') + container.name;
    rows.push_back({{context.output.json ? "name" : "tree", context.output.json ? container.name : shown},
                    {"path", container.path},
                    {"depth", container.depth},
                    {"holds", FlagNames(container.flags)},
                    {"id", ToHex(container.id.data(), container.id.size())}});
  }
  std::vector<Column> columns = {{"tree", "CONTAINER"}, {"holds", "HOLDS"}};
  if (ids) columns.push_back({"id", "ID"});
  context.output.PrintTable(columns, rows, "No containers: the profile has no services.");
}

void ShowEntry(Context& context, const std::string& reference) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Entry entry = FindEntry(session.book(), reference);
  Properties properties;
  Check(properties.Read(OpenProps(session.book(), entry.id, 0, "'" + reference + "'").get(), nullptr),
        "read '" + reference + "'");
  Json object = Json::object();
  for (ULONG i = 0; i < properties.count(); ++i)
    object[PropertyName(properties[i].ulPropTag)] = PropertyValue(properties[i]);
  context.output.PrintObject(object);
}

void FindEntries(Context& context, const FindOptions& options) {
  Library library(context.app_key);
  Session session(library, context.profile);
  std::vector<Container> containers = options.container.empty()
                                          ? ListContainers(session.book())
                                          : std::vector<Container>{FindContainer(session.book(), options.container)};
  Json rows = Json::array();
  auto enough = [&] { return options.most != 0 && rows.size() >= options.most; };
  for (const Container& container : containers) {
    if (enough()) break;
    ForEachEntry(session.book(), container.id, [&](const Entry& entry) {
      if (!ContainsNoCase(entry.name, options.text)) return true;
      rows.push_back({{"name", entry.name},
                      {"kind", TypeName(entry.type)},
                      {"address", entry.address},
                      {"container", container.path},
                      {"id", ToHex(entry.id.data(), entry.id.size())}});
      return !enough();
    });
  }
  context.output.PrintTable({{"name", "NAME"}, {"kind", "KIND"}, {"address", "ADDRESS"}, {"container", "CONTAINER"}},
                            rows, "Nothing found.");
  if (rows.empty()) throw Failure(kExitNotFound, "");
}

}  // namespace host
