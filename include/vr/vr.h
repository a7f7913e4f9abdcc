/* The whole interface of the library. */
#ifndef VR_VR_H
#define VR_VR_H

#include "vr/abi.h"
#include "vr/buffer.h"
#include "vr/cache.h"
#include "vr/convert.h"
#include "vr/date.h"
#include "vr/dll.h"
#include "vr/edit.h"
#include "vr/environ.h"
#include "vr/extract.h"
#include "vr/fields.h"
#include "vr/files.h"
#include "vr/fixed.h"
#include "vr/frame.h"
#include "vr/hash.h"
#include "vr/heap.h"
#include "vr/lock.h"
#include "vr/log.h"
#include "vr/memory.h"
#include "vr/process.h"
#include "vr/quark.h"
#include "vr/settings.h"
#include "vr/string.h"
#include "vr/table.h"
#include "vr/terminal.h"
#include "vr/text.h"
#include "vr/walk.h"

#endif
