/* The whole interface of the library. */
#ifndef VR_VR_H
#define VR_VR_H

#include "vr/abi.h"
#include "vr/edit.h"
#include "vr/environ.h"
#include "vr/extract.h"
#include "vr/files.h"
#include "vr/frame.h"
#include "vr/lock.h"
#include "vr/memory.h"
#include "vr/settings.h"
#include "vr/string.h"
#include "vr/text.h"
#include "vr/walk.h"

#endif
