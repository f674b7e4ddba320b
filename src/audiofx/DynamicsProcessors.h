#pragma once

#include "audiofx/BasicProcessors.h"

#include <juce_dsp/juce_dsp.h>

#include <vector>

namespace orvel {

// JUCE's compressor followed by a linear makeup gain.
class CompressorProcessor final : public AudioEffectProcessor
{
public:
    CompressorProcessor();
    void setThresholdDb(float thresholdDb);
    // For presets that give the threshold as an amplitude rather than in decibels.
    void setThresholdLinear(float threshold);
    void setRatio(float ratio);
    void setAttackMs(float attackMs);
    void setReleaseMs(float releaseMs);
    void setMakeup(float gain);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    juce::dsp::Compressor<float> m_compressor;
    GainProcessor m_makeup{1.0f};
};

// A linear drive into JUCE's limiter. JUCE's limiter brings its ceiling back up to full scale and
// clips there, so the drive decides how hard it works, not how loud it ends.
class LimiterProcessor final : public AudioEffectProcessor
{
public:
    LimiterProcessor();
    void setDrive(float gain);
    void setCeiling(float ceiling);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    GainProcessor m_drive{1.0f};
    juce::dsp::Limiter<float> m_limiter;
};

class GateProcessor final : public AudioEffectProcessor
{
public:
    GateProcessor();
    void setThreshold(float threshold);
    void setRatio(float ratio);
    void setAttackMs(float attackMs);
    void setReleaseMs(float releaseMs);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    juce::dsp::NoiseGate<float> m_gate;
};

// Takes sibilance out by subtracting an enveloped, high-passed copy of the signal.
class DeEsserProcessor final : public AudioEffectProcessor
{
public:
    DeEsserProcessor();
    void setIntensity(float intensity);
    void setAmount(float amount);
    void setFrequency(float frequency);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

    float highPassHz() const;

private:
    void updateFilter();

    SmoothedGain m_intensity;
    SmoothedGain m_amount;
    float m_frequency = 0.5f;
    double m_sampleRate = 0.0;
    Biquad m_highPass;
    std::vector<float> m_envelopes;
    // The high-passed copy of the block, one channel after another.
    std::vector<float> m_scratch;
    std::vector<float *> m_scratchChannels;
    std::size_t m_scratchFrames = 0;
};

// Raises quiet passages towards a target peak, never lowering anything below unity gain.
class LevelerProcessor final : public AudioEffectProcessor
{
public:
    void setStrength(float strength);
    void setPeak(float peak);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    float m_strength = 10.0f;
    float m_peak = 0.5f;
    double m_release = 0.0;
    double m_upStep = 0.0005;
    double m_downStep = 0.001;
    double m_envelope = 0.0;
    double m_gain = 1.0;
};

} // namespace orvel
