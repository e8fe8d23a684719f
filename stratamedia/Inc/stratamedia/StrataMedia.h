/// \file
/// The whole stratamedia media-types library.
#pragma once

#include "stratamedia/StrataMediaConfig.h"
#include "stratamedia/StrataMediaVersion.h"
#include "stratamedia/TickTime.h"
#include "stratamedia/TimeDisplay.h"
