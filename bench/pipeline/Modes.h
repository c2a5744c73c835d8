// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "pipeline/Arguments.h"

namespace Bench {

/// Logs, and prints the caller's times, the time until the last entry is in the file, and the
/// processor time.
void runPipeline(const Arguments& arguments);

/// Does the same work without measuring, for a tool that counts instructions. The file is kept, so
/// the caller can count its lines.
void workPipeline(const Arguments& arguments);

/// Logs one entry and prints the line from the file.
void showLine(const Arguments& arguments);

/// Measures the heap memory of a queued entry.
void measureHeap(const Arguments& arguments);

/// Measures a flush of an idle handler.
void measureFlush(const Arguments& arguments);

/// Measures appends to a LogglySink that rotates through many files.
void measureRotation(const Arguments& arguments);

/// Renders the entry repeatedly, for a tool that counts instructions.
void workRendering(const Arguments& arguments);

}  // namespace Bench
