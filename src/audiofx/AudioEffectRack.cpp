#include "audiofx/AudioEffectRack.h"

#include "audiofx/AudioEffectRegistry.h"

#include <algorithm>

namespace orvel {

AudioEffectRack::AudioEffectRack(ChainFactory factory) : m_factory(std::move(factory))
{
    if (!m_factory)
        m_factory = [](const QString &processorId) { return makeChain(processorId); };
}

bool AudioEffectRack::configure(const QList<AudioEffectSpec> &specs, int sampleRate)
{
    if (specs.isEmpty() || sampleRate < 1) {
        reset();
        m_nextExpectedUs = -1;
        m_chains.clear();
        m_chainIds.clear();
        m_signatureIds.clear();
        return false;
    }
    // Only a change in which effects run, their order or the rate rebuilds, so a parameter
    // dragged in the inspector during playback keeps echoes and filter state intact. This runs
    // for every block, so the ids are compared in place rather than joined into a new string.
    const bool rebuilt = !matchesSignature(specs, sampleRate);
    if (rebuilt) {
        m_signatureIds.clear();
        for (const AudioEffectSpec &spec : specs)
            m_signatureIds.push_back(spec.processorId);
        rebuild(specs, sampleRate);
    }
    if (!m_chains.empty()) {
        std::size_t next = 0;
        for (const AudioEffectSpec &spec : specs) {
            // Specs whose id built no chain are skipped, so chain k meets the k-th known id.
            if (next >= m_chains.size() || m_chainIds[next] != spec.processorId)
                continue;
            ChainProcessor &chain = *m_chains[next++];
            for (auto it = spec.parameters.constBegin(); it != spec.parameters.constEnd(); ++it)
                chain.setParameter(it.key(), it.value());
        }
    }
    if (rebuilt)
        reset();
    return !m_chains.empty();
}

bool AudioEffectRack::matchesSignature(const QList<AudioEffectSpec> &specs, int sampleRate) const
{
    if (m_signatureIds.empty() || sampleRate != m_sampleRate ||
        std::size_t(specs.size()) != m_signatureIds.size())
        return false;
    for (qsizetype i = 0; i < specs.size(); ++i) {
        if (specs[i].processorId != m_signatureIds[std::size_t(i)])
            return false;
    }
    return true;
}

void AudioEffectRack::rebuild(const QList<AudioEffectSpec> &specs, int sampleRate)
{
    m_chains.clear();
    m_chainIds.clear();
    m_sampleRate = sampleRate;
    const AudioProcessSpec processSpec{double(sampleRate), kChunkFrames, kChannels};
    if (m_planar.size() != std::size_t(kChannels * kChunkFrames)) {
        m_planar.assign(std::size_t(kChannels * kChunkFrames), 0.0f);
        for (int c = 0; c < kChannels; ++c)
            m_channelPointers[std::size_t(c)] = m_planar.data() + c * kChunkFrames;
    }
    int latencySum = 0;
    qint64 prerollMax = 0;
    for (const AudioEffectSpec &spec : specs) {
        std::unique_ptr<ChainProcessor> chain = m_factory(spec.processorId);
        if (!chain)
            continue;
        chain->prepare(processSpec);
        latencySum += chain->latencyFrames();
        prerollMax = std::max(prerollMax, qint64(spec.prerollMs) * sampleRate / 1000);
        m_chains.push_back(std::move(chain));
        m_chainIds.push_back(spec.processorId);
    }
    m_prerollFrames = int(std::max<qint64>(latencySum, prerollMax));
}

void AudioEffectRack::reset()
{
    for (auto &chain : m_chains)
        chain->reset();
}

int AudioEffectRack::prerollFrames() const
{
    return m_chains.empty() ? 0 : m_prerollFrames;
}

void AudioEffectRack::process(const float *in, float *out, int frames)
{
    if (!in || frames < 1 || m_chains.empty())
        return;
    for (int offset = 0; offset < frames; offset += kChunkFrames) {
        const int count = std::min(kChunkFrames, frames - offset);
        const float *src = in + std::size_t(offset) * kChannels;
        for (int i = 0; i < count; ++i) {
            m_channelPointers[0][i] = src[2 * i];
            m_channelPointers[1][i] = src[2 * i + 1];
        }
        const AudioBlockView block{m_channelPointers.data(), kChannels, 0, std::size_t(count)};
        for (auto &chain : m_chains)
            chain->process(block);
        if (!out)
            continue;
        float *dst = out + std::size_t(offset) * kChannels;
        for (int i = 0; i < count; ++i) {
            dst[2 * i] = m_channelPointers[0][i];
            dst[2 * i + 1] = m_channelPointers[1][i];
        }
    }
}

} // namespace orvel
