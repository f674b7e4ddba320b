#pragma once

#include "audiofx/ChainProcessor.h"

#include <QString>

#include <memory>

namespace orvel {

// The processor ids an audio-effect package may name, each with the chain it builds. The table
// is built once, on first use, and never changes afterwards.

// A fresh chain for the id, its parameters bound; null for an id the table does not hold.
std::unique_ptr<ChainProcessor> makeChain(const QString &processorId);
bool isKnownProcessor(const QString &processorId);

} // namespace orvel
