#pragma once

#include "audiofx/ChainProcessor.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace orvel {

// The processor ids an audio-effect package may name, each with the chain it builds. The table
// is built once, on first use, and never changes afterwards.

// A fresh chain for the id, its parameters bound; null for an id the table does not hold.
std::unique_ptr<ChainProcessor> makeChain(const QString &processorId);
bool isKnownProcessor(const QString &processorId);
// Every id the table holds, sorted; lets a catalogue check that its files name real chains.
QStringList knownProcessorIds();

} // namespace orvel
