// Every family of OstraFoundation.
#pragma once

#include "Ostra/Foundation.h"
#include "Ostra/OstraConfig.h"
#include "Ostra/Result.h"
#include "Ostra/AutomationDataCollector.h"
#include "Ostra/Color.h"
#include "Ostra/TimeStamp.h"
#include "Ostra/Timecode.h"
