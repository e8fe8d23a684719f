// Every family of OstraFoundation.
#pragma once

#include "Ostra/Foundation.h"
#include "Ostra/OstraConfig.h"
#include "Ostra/Result.h"
#include "Ostra/PathUtils.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/ErrorReports.h"
