#pragma once

#include "audiofx/AudioEffectProcessor.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace orvel {

// The processors of one catalogue effect, run in order, with its parameter names mapped to
// setters. A name may reach a setter of any processor in the chain, and two names may share one.
class ChainProcessor final : public AudioEffectProcessor
{
public:
    template <typename T, typename... Args> T *add(Args &&...args)
    {
        auto owned = std::make_unique<T>(std::forward<Args>(args)...);
        T *raw = owned.get();
        m_processors.push_back(std::move(owned));
        return raw;
    }

    template <typename T> void bind(const QString &name, T *processor, void (T::*setter)(float))
    {
        m_parameters.insert(name, [processor, setter](float value) { (processor->*setter)(value); });
    }

    void bindFunction(const QString &name, std::function<void(float)> function);
    // A name nothing is bound to is ignored: catalogue files may carry parameters that an older
    // or newer build of the processor does not know.
    void setParameter(const QString &name, float value);
    // Every bound name, so that a catalogue can check its files against the chain.
    QStringList parameterNames() const { return m_parameters.keys(); }

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;
    int latencyFrames() const override;

    int processorCount() const { return int(m_processors.size()); }

private:
    std::vector<std::unique_ptr<AudioEffectProcessor>> m_processors;
    QHash<QString, std::function<void(float)>> m_parameters;
};

} // namespace orvel
