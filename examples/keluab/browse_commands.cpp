// keluab tree, show, find: reading the address book.
#include <memory>

#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "values.h"

namespace host {
namespace {

using namespace uab;

std::string FlagNames(ULONG flags) {
  std::string text;
  if ((flags & AB_RECIPIENTS) != 0) text += "recipients ";
  if ((flags & AB_SUBCONTAINERS) != 0) text += "containers ";
  if ((flags & AB_MODIFIABLE) != 0) text += "modifiable ";
  if (!text.empty()) text.pop_back();
  return text;
}

void Tree(Context& context, bool ids) {
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

void Show(Context& context, const std::string& reference) {
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

struct FindOptions {
  std::string text, container;
  std::size_t most = 0;
};

void Find(Context& context, const FindOptions& options) {
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

}  // namespace

void AddBrowseCommands(CLI::App& app, Context& context) {
  auto ids = std::make_shared<bool>(false);
  CLI::App* command = app.add_subcommand("tree", "print the merged hierarchy of all providers");
  command->add_flag("--ids", *ids, "with the containers' identifiers");
  AddProfileOption(command, context);
  command->callback([&context, ids] { Tree(context, *ids); });

  auto shown = std::make_shared<std::string>();
  command = app.add_subcommand("show", "show all properties of an entry");
  command->add_option("entry", *shown, "CONTAINER/NAME, or an identifier")->required();
  AddProfileOption(command, context);
  command->callback([&context, shown] { Show(context, *shown); });

  auto find = std::make_shared<FindOptions>();
  command = app.add_subcommand("find", "find entries by a part of their name");
  command->add_option("text", find->text, "a part of the name; letter case (A to Z) does not matter")->required();
  command->add_option("--in", find->container, "only in this container");
  command->add_option("--most", find->most, "stop after this many");
  AddProfileOption(command, context);
  command->callback([&context, find] { Find(context, *find); });
}

}  // namespace host
