#pragma once

#include "audiofx/ChainProcessor.h"
#include "core/document/model/Types.h"

#include <QList>
#include <QMap>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <vector>

namespace orvel {

// One effect of a clip as the mixer hands it to the rack, recomputed from the clip for each
// block: which chain to build, how much audio to replay after a jump, and the parameter values.
struct AudioEffectSpec
{
    QString processorId;
    int prerollMs = 0;
    QMap<QString, float> parameters;
};

// The running chains of one clip, kept in step with time by the mixer. Used by one thread at a
// time; process() takes no lock and allocates nothing.
class AudioEffectRack
{
public:
    static constexpr int kChunkFrames = 1024;
    static constexpr int kChannels = 2;

    using ChainFactory = std::function<std::unique_ptr<ChainProcessor>(const QString &processorId)>;

    // The factory defaults to the processor registry; tests hand in chains of their own.
    explicit AudioEffectRack(ChainFactory factory = {});

    // Builds the chains when the ordered processor ids or the rate changed, then applies every
    // parameter. True when at least one chain exists.
    bool configure(const QList<AudioEffectSpec> &specs, int sampleRate);
    void reset();
    int prerollFrames() const;
    // in: interleaved stereo. out may equal in, or be null to run the chains and discard the
    // result (used to rebuild tails after a jump).
    void process(const float *in, float *out, int frames);

    TimeUs nextExpectedUs() const { return m_nextExpectedUs; }
    void setNextExpectedUs(TimeUs timeUs) { m_nextExpectedUs = timeUs; }
    int chainCount() const { return int(m_chains.size()); }

private:
    bool matchesSignature(const QList<AudioEffectSpec> &specs, int sampleRate) const;
    void rebuild(const QList<AudioEffectSpec> &specs, int sampleRate);

    ChainFactory m_factory;
    // What is built: the rate and every spec's processor id in order, known or not.
    std::vector<QString> m_signatureIds;
    int m_sampleRate = 0;
    int m_prerollFrames = 0;
    TimeUs m_nextExpectedUs = -1;
    std::vector<std::unique_ptr<ChainProcessor>> m_chains;
    std::vector<QString> m_chainIds; // the processor id each chain was built for
    std::vector<float> m_planar;
    std::array<float *, kChannels> m_channelPointers{};
};

} // namespace orvel
