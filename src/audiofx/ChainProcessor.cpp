#include "audiofx/ChainProcessor.h"

namespace orvel {

void ChainProcessor::bindFunction(const QString &name, std::function<void(float)> function)
{
    m_parameters.insert(name, std::move(function));
}

void ChainProcessor::setParameter(const QString &name, float value)
{
    const auto it = m_parameters.constFind(name);
    if (it != m_parameters.constEnd())
        (*it)(value);
}

void ChainProcessor::prepare(const AudioProcessSpec &spec)
{
    for (auto &processor : m_processors)
        processor->prepare(spec);
}

void ChainProcessor::process(const AudioBlockView &block)
{
    for (auto &processor : m_processors)
        processor->process(block);
}

void ChainProcessor::reset()
{
    for (auto &processor : m_processors)
        processor->reset();
}

int ChainProcessor::latencyFrames() const
{
    int sum = 0;
    for (const auto &processor : m_processors)
        sum += processor->latencyFrames();
    return sum;
}

} // namespace orvel
