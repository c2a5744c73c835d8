// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

/// Includes every public header of Korvel::Extras.

#include <Korvel/Extras/BoundedLogger.h>
#include <Korvel/Extras/Context.h>
#include <Korvel/Extras/FlushAtExit.h>
#include <Korvel/Extras/GuardedSink.h>
#include <Korvel/Extras/LineConsoleSink.h>
#include <Korvel/Extras/Logging.h>
#include <Korvel/Extras/MemorySink.h>
#include <Korvel/Extras/Monitor.h>
#include <Korvel/Extras/ReopeningFileSink.h>
#include <Korvel/Extras/SamplingFilter.h>
#include <Korvel/Extras/Severity.h>
#include <Korvel/Extras/SeverityLogger.h>
#include <Korvel/Extras/ToMessage.h>
#include <Korvel/Extras/WellFormedSink.h>
