// keluab service ...
#include <cstring>

#include "commands.h"
#include "failure.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

// A service's identifier by hexadecimal digits or by name; the first that fits.
MAPIUID FindService(IMsgServiceAdmin* admin, const std::string& reference) {
  Com<IMAPITable> table;
  Check(admin->GetMsgServiceTable(MAPI_UNICODE, table.Put()), "list the services");
  static constexpr TagArray<3> kColumns = {3, {PR_SERVICE_UID, PR_SERVICE_NAME_W, PR_DISPLAY_NAME_W}};
  MAPIUID uid{};
  bool found = false;
  ForEachRow(table.get(), kColumns.address(), [&](const SRow& row) {
    std::string bytes = BytesOf(row.lpProps[0], PR_SERVICE_UID);
    if (bytes.size() != sizeof uid) return true;
    found = EqualsNoCase(ToHex(bytes.data(), bytes.size()), reference) ||
            TextOf(row.lpProps[1], PR_SERVICE_NAME_W) == reference ||
            TextOf(row.lpProps[2], PR_DISPLAY_NAME_W) == reference;
    if (found) std::memcpy(&uid, bytes.data(), sizeof uid);
    return !found;
  });
  if (!found) throw Failure(kExitNotFound, "No service '" + reference + "' in the profile: see 'keluab service list'.");
  return uid;
}

// TAG=TEXT or TAG=NUMBER, by the tag's type.
SPropValue ParseAssignment(const std::string& assignment, WideText& text) {
  std::size_t equals = assignment.find('=');
  ULONG tag = equals == std::string::npos ? 0 : PropertyTag(assignment.substr(0, equals));
  ULONG type = PropType(tag);
  if (type != PT_UNICODE && type != PT_LONG && type != PT_BOOLEAN) {
    throw Failure(kExitUsage,
                  "'" + assignment + "' is no TAG=VALUE with a text or number property (such as FILE_NAME=...).");
  }
  SPropValue value{};
  value.ulPropTag = tag;
  std::string given = assignment.substr(equals + 1);
  if (type == PT_UNICODE) {
    text = ToWide(given);
    value.Value.lpszW = text.data();
    return value;
  }
  try {
    value.Value.l = static_cast<LONG>(std::stol(given, nullptr, 0));
  } catch (const std::exception&) {
    throw Failure(kExitUsage, "'" + given + "' is no number.");
  }
  return value;
}

}  // namespace

void ListServices(Context& context) {
  Library library(context.app_key);
  Com<IMsgServiceAdmin> admin = library.OpenServices(context.profile);
  Com<IMAPITable> table;
  Check(admin->GetMsgServiceTable(MAPI_UNICODE, table.Put()), "list the services");
  static constexpr TagArray<4> kColumns = {
      4, {PR_SERVICE_NAME_W, PR_DISPLAY_NAME_W, PR_SERVICE_DLL_NAME_W, PR_SERVICE_UID}};
  Json rows = Json::array();
  ForEachRow(table.get(), kColumns.address(), [&](const SRow& row) {
    std::string uid = BytesOf(row.lpProps[3], PR_SERVICE_UID);
    rows.push_back({{"service", TextOf(row.lpProps[0], PR_SERVICE_NAME_W)},
                    {"name", TextOf(row.lpProps[1], PR_DISPLAY_NAME_W)},
                    {"library", TextOf(row.lpProps[2], PR_SERVICE_DLL_NAME_W)},
                    {"uid", ToHex(uid.data(), uid.size())}});
    return true;
  });
  context.output.PrintTable({{"service", "SERVICE"}, {"name", "NAME"}, {"library", "LIBRARY"}, {"uid", "UID"}}, rows,
                            "No services. Add one with 'keluab service add SERVICE'.");
}

void AddService(Context& context, const AddServiceOptions& options) {
  Library library(context.app_key);
  Com<IMsgServiceAdmin> admin = library.OpenServices(context.profile);
  std::string name = options.name.empty() ? options.service : options.name;
  HRESULT hr = admin->CreateMsgService(ToWide(options.service).data(), ToWide(name).data(), ToWide(options.text).data(),
                                       0, 0, MAPI_UNICODE);
  Check(hr, "add service '" + options.service + "'",
        hr == MAPI_E_NOT_FOUND ? "Check the service's name in the definition file, and the folder that --text names."
                               : "");
  context.output.PrintDone("Added service '" + options.service + "'.");
}

void ConfigureService(Context& context, const ConfigureServiceOptions& options) {
  Library library(context.app_key);
  Com<IMsgServiceAdmin> admin = library.OpenServices(context.profile);
  MAPIUID uid = FindService(admin.get(), options.service);
  std::vector<WideText> texts(options.assignments.size());
  std::vector<SPropValue> values;
  for (std::size_t i = 0; i < texts.size(); ++i) values.push_back(ParseAssignment(options.assignments[i], texts[i]));
  if (values.empty() && options.raw) throw Failure(kExitUsage, "Give --set TAG=VALUE.");
  Com<IMAPIProp> section;
  ULONG flags = MAPI_UNICODE | (options.raw ? 0 : SERVICE_UI_ALLOWED);
  HRESULT hr =
      admin->ConfigureMsgService(&uid, 0, flags, static_cast<ULONG>(values.size()), values.data(), section.Put());
  Check(hr, "configure service '" + options.service + "'",
        hr == MAPI_E_NOT_FOUND ? "Check that the folder or file is there, and the service's library installed." : "");
  if (section)
    Check(section->SaveChanges(KEEP_OPEN_READWRITE), "save the settings of service '" + options.service + "'");
  context.output.PrintDone("Configured service '" + options.service + "'.");
}

void ShowService(Context& context, const std::string& service) {
  Library library(context.app_key);
  Com<IMsgServiceAdmin> admin = library.OpenServices(context.profile);
  MAPIUID uid = FindService(admin.get(), service);
  Com<IMAPIProp> section;
  Check(admin->OpenProfileSection(&uid, nullptr, 0, section.Put()), "open service '" + service + "'");
  Properties properties;
  Check(properties.Read(section.get(), nullptr), "read service '" + service + "'");
  Json object = Json::object();
  for (ULONG i = 0; i < properties.count(); ++i)
    object[PropertyName(properties[i].ulPropTag)] = PropertyValue(properties[i]);
  context.output.PrintObject(object);
}

void RemoveService(Context& context, const std::string& service) {
  Library library(context.app_key);
  Com<IMsgServiceAdmin> admin = library.OpenServices(context.profile);
  MAPIUID uid = FindService(admin.get(), service);
  Check(admin->DeleteMsgService(&uid), "remove service '" + service + "'");
  context.output.PrintDone("Removed service '" + service + "'.");
}

}  // namespace host
