// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

/// Includes every public header of Korvel.

#include <Korvel/ConsoleSink.h>
#include <Korvel/Extender.h>
#include <Korvel/FileSink.h>
#include <Korvel/Filter.h>
#include <Korvel/Functions.h>
#include <Korvel/Logger.h>
#include <Korvel/LogglySink.h>
#include <Korvel/Message.h>
#include <Korvel/Sink.h>
#include <Korvel/SinkHandler.h>
#include <Korvel/WrongKeyException.h>
#include <Korvel/WrongTypeException.h>
