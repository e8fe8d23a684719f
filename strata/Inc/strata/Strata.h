/// \file
/// The whole strata core library.
#pragma once

#include "strata/Allocator.h"
#include "strata/ClassRef.h"
#include "strata/Config.h"
#include "strata/Debug.h"
#include "strata/Executor.h"
#include "strata/FileSupport.h"
#include "strata/Impl.h"
#include "strata/Messaging.h"
#include "strata/Result.h"
#include "strata/StrataVersion.h"
#include "strata/String.h"
#include "strata/Threads.h"
#include "strata/Utility.h"
