#pragma once

#include "audiofx/BasicProcessors.h"

#include <juce_dsp/juce_dsp.h>

#include <algorithm>

namespace orvel {

// A sine LFO with a ramped depth, shared by the processors that sweep one. The rate jumps; the
// depth glides like any gain.
class LfoProcessor : public AudioEffectProcessor
{
public:
    void setRateHz(float rateHz);
    void setDepth(float depth);

protected:
    LfoProcessor(float rateHz, float maxRateHz);
    void prepareLfo(const AudioProcessSpec &spec);
    void resetLfo();
    double phaseStep() const { return m_rateHz / m_sampleRate; }

    float m_rateHz;
    float m_maxRateHz;
    SmoothedGain m_depth;
    double m_sampleRate = 48000.0;
    double m_phase = 0.0;
};

// Amplitude modulation by a raised sine; depth 0 is exact unity.
class TremoloProcessor final : public LfoProcessor
{
public:
    TremoloProcessor();
    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;
};

// Pitch wobble: only the signal read from a delay swept by a sine is heard.
class VibratoProcessor final : public LfoProcessor
{
public:
    VibratoProcessor();
    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    DelayRing m_line;
};

class FlangerProcessor final : public AudioEffectProcessor
{
public:
    void setSpeedHz(float speedHz);
    void setDelayMs(float delayMs);
    void setDepthMs(float depthMs);
    void setRegenPercent(float regen);
    void setMixPercent(float mix);
    void setPhaseDegrees(float degrees);
    void setInvert(float invert);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    DelayRing m_line;
    float m_speedHz = 0.5f;
    float m_delayMs = 2.0f;
    float m_depthMs = 2.0f;
    float m_regen = 0.0f;
    float m_mix = 50.0f;
    double m_phaseOffset = 0.0;
    bool m_invert = false;
    double m_sampleRate = 48000.0;
    double m_phase = 0.0;
};

// Moves the signal between the two channels with opposite sines.
class AutoPanProcessor final : public AudioEffectProcessor
{
public:
    AutoPanProcessor();
    void setRateHz(float rateHz);
    void setAmount(float amount);
    void setLevelIn(float level);
    void setLevelOut(float level);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    float m_rateHz = 0.5f;
    SmoothedGain m_amount;
    SmoothedGain m_levelIn;
    SmoothedGain m_levelOut;
    double m_sampleRate = 48000.0;
    double m_phase = 0.0;
};

// Widens by feeding each side a delayed, inverted copy of the other.
class StereoWidenProcessor final : public AudioEffectProcessor
{
public:
    StereoWidenProcessor();
    void setDelayMs(float delayMs);
    void setFeedback(float feedback);
    void setCrossfeed(float crossfeed);
    void setDryMix(float dryMix);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    DelayRing m_line;
    float m_delayMs = 20.0f;
    SmoothedGain m_feedback;
    SmoothedGain m_crossfeed;
    SmoothedGain m_dryMix;
    double m_sampleRate = 48000.0;
};

// Gain, one of JUCE's modulation effects, gain: the in and out levels frame the effect.
template <typename Effect> class GainFramedProcessor : public AudioEffectProcessor
{
public:
    void setInGain(float gain) { m_inGain.setGain(std::max(gain, 0.0f)); }
    void setOutGain(float gain) { m_outGain.setGain(std::max(gain, 0.0f)); }

    void process(const AudioBlockView &block) override
    {
        m_inGain.process(block);
        juce::dsp::AudioBlock<float> juce(block.channels, block.channelCount, block.startFrame,
                                          block.frameCount);
        m_effect.process(juce::dsp::ProcessContextReplacing<float>(juce));
        m_outGain.process(block);
    }
    void reset() override
    {
        m_inGain.reset();
        m_effect.reset();
        m_outGain.reset();
    }

protected:
    GainFramedProcessor(float inGain, float outGain)
        : m_inGain(std::max(inGain, 0.0f)), m_outGain(std::max(outGain, 0.0f))
    {}
    void prepareFrame(const AudioProcessSpec &spec)
    {
        m_inGain.prepare(spec);
        m_effect.prepare({spec.sampleRate, spec.maximumBlockSize, spec.numChannels});
        m_outGain.prepare(spec);
    }

    GainProcessor m_inGain;
    Effect m_effect;
    GainProcessor m_outGain;
};

// JUCE's chorus without feedback, between two gains.
class ChorusProcessor final : public GainFramedProcessor<juce::dsp::Chorus<float>>
{
public:
    ChorusProcessor(float inGain = 1.0f, float outGain = 1.0f);
    void setDelayMs(float delayMs);
    void setDecay(float decay);
    void setSpeedHz(float speedHz);
    void setDepth(float depth);

    void prepare(const AudioProcessSpec &spec) override;
};

// JUCE's phaser between two gains.
class PhaserProcessor final : public GainFramedProcessor<juce::dsp::Phaser<float>>
{
public:
    PhaserProcessor();
    void setDelay(float delay);
    void setDecay(float decay);
    void setSpeedHz(float speedHz);

    void prepare(const AudioProcessSpec &spec) override;

    float centreHz() const;

private:
    float m_delay = 1.0f;
    double m_sampleRate = 48000.0;
};

} // namespace orvel
