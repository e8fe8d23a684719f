// Every family of OstraFoundation.
#pragma once

#include "Ostra/Foundation.h"
#include "Ostra/OstraConfig.h"
#include "Ostra/Result.h"
#include "Ostra/Language.h"
#include "Ostra/Module.h"
#include "Ostra/RegistryKey.h"
