// Umbrella header: every public header of the library.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Exception.Globals.h"
#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Settings.VerboseLogging.h"
#include "CppUtil.Text.FormatCache.h"
#include "CppUtil.Text.FormatFeederBase.h"
#include "CppUtil.Text.MessageManager.h"
#include "CppUtil.Text.Output.h"
#include "CppUtil.Text.TextOutputBase.h"
#include "Platform/CString.h"
#include "Platform/WinTypes.h"
#include "SeTranslate.h"
