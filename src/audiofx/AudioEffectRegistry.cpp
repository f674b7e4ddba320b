#include "audiofx/AudioEffectRegistry.h"

#include "audiofx/BasicProcessors.h"

#include <QHash>

#include <functional>

namespace orvel {

namespace {

using ChainBuilder = std::function<void(ChainProcessor &)>;

void buildEcho(ChainProcessor &chain)
{
    auto *echo = chain.add<EchoProcessor>();
    chain.bind("delay", echo, &EchoProcessor::setDelayMs);
    chain.bind("decay", echo, &EchoProcessor::setDecay);
    chain.bind("in_gain", echo, &EchoProcessor::setInGain);
    chain.bind("out_gain", echo, &EchoProcessor::setOutGain);
}

void buildMuffled(ChainProcessor &chain)
{
    auto *lowPass = chain.add<BandFilterProcessor>(BandFilterProcessor::lowPass, 800.0f);
    auto *gain = chain.add<GainProcessor>(1.0f);
    chain.bind("cutoff", lowPass, &BandFilterProcessor::setFrequency);
    chain.bind("gain", gain, &GainProcessor::setGain);
}

const QHash<QString, ChainBuilder> &registry()
{
    static const QHash<QString, ChainBuilder> table{
        {QStringLiteral("echo"), buildEcho},
        {QStringLiteral("muffled"), buildMuffled},
    };
    return table;
}

} // namespace

std::unique_ptr<ChainProcessor> makeChain(const QString &processorId)
{
    const auto it = registry().constFind(processorId);
    if (it == registry().constEnd())
        return nullptr;
    auto chain = std::make_unique<ChainProcessor>();
    (*it)(*chain);
    return chain;
}

bool isKnownProcessor(const QString &processorId)
{
    return registry().contains(processorId);
}

} // namespace orvel
