// Everything that a host or a provider needs.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/admin.h"
#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/exports.h"
#include "keluab/iids.h"
#include "keluab/notification.h"
#include "keluab/props.h"
#include "keluab/provider.h"
#include "keluab/session.h"
#include "keluab/tables.h"
#include "keluab/tags.h"
#include "keluab/values.h"
