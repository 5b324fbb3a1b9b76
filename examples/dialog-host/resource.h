// Identifiers of the menu and its commands.
#pragma once

#define IDR_MENU 100
#define IDR_KEYS 101
#define IDM_CONFIGURE 200
#define IDM_LOGON 201
#define IDM_EXIT 202
