#pragma once

#include "audiofx/BasicProcessors.h"

#include <juce_dsp/juce_dsp.h>

namespace orvel {

// Amplitude modulation by a raised sine; depth 0 is exact unity.
class TremoloProcessor final : public AudioEffectProcessor
{
public:
    TremoloProcessor();
    void setRateHz(float rateHz);
    void setDepth(float depth);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    float m_rateHz = 5.0f;
    SmoothedGain m_depth;
    double m_sampleRate = 48000.0;
    double m_phase = 0.0;
};

// Pitch wobble: only the signal read from a delay swept by a sine is heard.
class VibratoProcessor final : public AudioEffectProcessor
{
public:
    VibratoProcessor();
    void setRateHz(float rateHz);
    void setDepth(float depth);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    juce::dsp::DelayLine<float> m_line{4096};
    float m_rateHz = 4.0f;
    SmoothedGain m_depth;
    double m_sampleRate = 48000.0;
    double m_phase = 0.0;
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
    juce::dsp::DelayLine<float> m_line{8192};
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
    juce::dsp::DelayLine<float> m_line{8192};
    float m_delayMs = 20.0f;
    SmoothedGain m_feedback;
    SmoothedGain m_crossfeed;
    SmoothedGain m_dryMix;
    double m_sampleRate = 48000.0;
};

// Gain, JUCE's chorus without feedback, gain.
class ChorusProcessor final : public AudioEffectProcessor
{
public:
    ChorusProcessor(float inGain = 1.0f, float outGain = 1.0f);
    void setInGain(float gain);
    void setOutGain(float gain);
    void setDelayMs(float delayMs);
    void setDecay(float decay);
    void setSpeedHz(float speedHz);
    void setDepth(float depth);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    GainProcessor m_inGain;
    juce::dsp::Chorus<float> m_chorus;
    GainProcessor m_outGain;
};

// Gain, JUCE's phaser, gain.
class PhaserProcessor final : public AudioEffectProcessor
{
public:
    PhaserProcessor();
    void setInGain(float gain);
    void setOutGain(float gain);
    void setDelay(float delay);
    void setDecay(float decay);
    void setSpeedHz(float speedHz);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

    float centreHz() const;

private:
    GainProcessor m_inGain;
    juce::dsp::Phaser<float> m_phaser;
    GainProcessor m_outGain;
    float m_delay = 1.0f;
    double m_sampleRate = 48000.0;
};

} // namespace orvel
