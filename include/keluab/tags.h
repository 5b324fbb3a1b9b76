// Property types and property tags. A tag is 32 bits: the identifier in the high half, the type in the low half.
#pragma once

#include "keluab/base.h"

namespace uab {

// Property types: the low 16 bits of a tag.
inline constexpr ULONG PT_UNSPECIFIED = 0x0000;  // in a search tag: any type
inline constexpr ULONG PT_NULL = 0x0001;
inline constexpr ULONG PT_I2 = 0x0002;
inline constexpr ULONG PT_LONG = 0x0003;
inline constexpr ULONG PT_R4 = 0x0004;
inline constexpr ULONG PT_DOUBLE = 0x0005;
inline constexpr ULONG PT_CURRENCY = 0x0006;
inline constexpr ULONG PT_APPTIME = 0x0007;
inline constexpr ULONG PT_ERROR = 0x000A;
inline constexpr ULONG PT_BOOLEAN = 0x000B;
inline constexpr ULONG PT_OBJECT = 0x000D;
inline constexpr ULONG PT_I8 = 0x0014;
inline constexpr ULONG PT_STRING8 = 0x001E;
inline constexpr ULONG PT_UNICODE = 0x001F;
inline constexpr ULONG PT_SYSTIME = 0x0040;
inline constexpr ULONG PT_CLSID = 0x0048;
inline constexpr ULONG PT_BINARY = 0x0102;

inline constexpr ULONG MV_FLAG = 0x1000;  // in a type: an array of values
inline constexpr ULONG PT_MV_I2 = 0x1002;
inline constexpr ULONG PT_MV_LONG = 0x1003;
inline constexpr ULONG PT_MV_R4 = 0x1004;
inline constexpr ULONG PT_MV_DOUBLE = 0x1005;
inline constexpr ULONG PT_MV_CURRENCY = 0x1006;
inline constexpr ULONG PT_MV_APPTIME = 0x1007;
inline constexpr ULONG PT_MV_I8 = 0x1014;
inline constexpr ULONG PT_MV_STRING8 = 0x101E;
inline constexpr ULONG PT_MV_UNICODE = 0x101F;
inline constexpr ULONG PT_MV_SYSTIME = 0x1040;
inline constexpr ULONG PT_MV_CLSID = 0x1048;
inline constexpr ULONG PT_MV_BINARY = 0x1102;

constexpr ULONG PropId(ULONG tag) noexcept { return tag >> 16; }
constexpr ULONG PropType(ULONG tag) noexcept { return tag & 0xFFFFu; }
constexpr ULONG PropTag(ULONG type, ULONG id) noexcept { return (id << 16) | type; }
constexpr ULONG WithPropType(ULONG tag, ULONG type) noexcept { return (tag & 0xFFFF0000u) | type; }

inline constexpr ULONG PR_NULL = 0x00000001;  // a placeholder column

// Every entry
inline constexpr ULONG PR_ACCESS = 0x0FF40003;
inline constexpr ULONG PR_INSTANCE_KEY = 0x0FF60102;
inline constexpr ULONG PR_ACCESS_LEVEL = 0x0FF70003;
inline constexpr ULONG PR_OBJECT_TYPE = 0x0FFE0003;
inline constexpr ULONG PR_ENTRYID = 0x0FFF0102;
inline constexpr ULONG PR_DISPLAY_NAME_W = 0x3001001F;
inline constexpr ULONG PR_DISPLAY_NAME_A = 0x3001001E;
inline constexpr ULONG PR_ADDRTYPE_W = 0x3002001F;
inline constexpr ULONG PR_EMAIL_ADDRESS_W = 0x3003001F;
inline constexpr ULONG PR_COMMENT_W = 0x3004001F;
inline constexpr ULONG PR_DEPTH = 0x30050003;
inline constexpr ULONG PR_PROVIDER_DISPLAY_W = 0x3006001F;
inline constexpr ULONG PR_RESOURCE_FLAGS = 0x30090003;
inline constexpr ULONG PR_SEARCH_KEY = 0x300B0102;
inline constexpr ULONG PR_DISPLAY_TYPE = 0x39000003;

// Recipients
inline constexpr ULONG PR_RECIPIENT_TYPE = 0x0C150003;

// Containers
inline constexpr ULONG PR_CONTAINER_FLAGS = 0x36000003;
inline constexpr ULONG PR_CREATE_TEMPLATES = 0x3604000D;
inline constexpr ULONG PR_CONTAINER_HIERARCHY = 0x360E000D;
inline constexpr ULONG PR_CONTAINER_CONTENTS = 0x360F000D;
inline constexpr ULONG PR_DEF_CREATE_DL = 0x36110102;
inline constexpr ULONG PR_DEF_CREATE_MAILUSER = 0x36120102;
inline constexpr ULONG PR_AB_PROVIDER_ID = 0x36150102;

// Profiles and message services
inline constexpr ULONG PR_DEFAULT_PROFILE = 0x3D04000B;
inline constexpr ULONG PR_AB_SEARCH_PATH = 0x3D051102;
inline constexpr ULONG PR_AB_DEFAULT_DIR = 0x3D060102;
inline constexpr ULONG PR_AB_DEFAULT_PAB = 0x3D070102;
inline constexpr ULONG PR_SERVICE_NAME_W = 0x3D09001F;
inline constexpr ULONG PR_SERVICE_DLL_NAME_W = 0x3D0A001F;
inline constexpr ULONG PR_SERVICE_ENTRY_NAME = 0x3D0B001E;
inline constexpr ULONG PR_SERVICE_UID = 0x3D0C0102;
inline constexpr ULONG PR_SERVICE_SUPPORT_FILES_W = 0x3D0F101F;
inline constexpr ULONG PR_SERVICE_DELETE_FILES_W = 0x3D10101F;

// The address book file name that a service library keeps in its profile section. The message service dialog writes it
// to the registry at OK: see IProfAdmin in keluab/admin.h.
inline constexpr ULONG UAB_PR_FILE_NAME_W = 0x6600001F;

}  // namespace uab
