/// \file
/// Every family of OstraFoundation.
#pragma once

#include "Ostra/AsyncFileReader.h"
#include "Ostra/AutomationDataCollector.h"
#include "Ostra/BlockCache.h"
#include "Ostra/Color.h"
#include "Ostra/Directory.h"
#include "Ostra/DirectoryRegistry.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/ErrorReports.h"
#include "Ostra/File.h"
#include "Ostra/Foundation.h"
#include "Ostra/IdleTimer.h"
#include "Ostra/Language.h"
#include "Ostra/Module.h"
#include "Ostra/OstraConfig.h"
#include "Ostra/OstraVersion.h"
#include "Ostra/PathUtils.h"
#include "Ostra/RegistryKey.h"
#include "Ostra/Result.h"
#include "Ostra/TimeStamp.h"
#include "Ostra/Timecode.h"
