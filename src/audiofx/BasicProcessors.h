#pragma once

#include "audiofx/AudioEffectProcessor.h"
#include "audiofx/Biquad.h"
#include "audiofx/DelayRing.h"

#include <juce_dsp/juce_dsp.h>

#include <vector>

namespace orvel {

// Gain-like parameters glide over 20 ms so that a value changed during playback does not click.
using SmoothedGain = juce::SmoothedValue<float, juce::ValueSmoothingTypes::Linear>;
inline constexpr double kParameterRampSeconds = 0.02;

// A linear gain on every channel.
class GainProcessor final : public AudioEffectProcessor
{
public:
    explicit GainProcessor(float gain = 1.0f);
    void setGain(float gain);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    SmoothedGain m_gain;
};

// One tap of delayed signal added to the dry one, without feedback. The delayed sample is read
// before the new one is written, so a delay of D samples repeats an impulse exactly D later.
class EchoProcessor final : public AudioEffectProcessor
{
public:
    EchoProcessor(float inGain = 1.0f, float outGain = 1.0f);
    void setDelayMs(float delayMs);
    void setDecay(float decay);
    void setInGain(float gain);
    void setOutGain(float gain);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    DelayRing m_line;
    double m_sampleRate = 48000.0;
    float m_delayMs = 60.0f;
    SmoothedGain m_decay;
    SmoothedGain m_inGain;
    SmoothedGain m_outGain;
};

// One biquad per channel: high-pass, low-pass or band-pass. Changing the frequency swaps the
// coefficients and keeps the filter's state, so sweeping it does not click.
class BandFilterProcessor final : public AudioEffectProcessor
{
public:
    enum Mode
    {
        highPass = 0,
        lowPass = 1,
        bandPass = 2
    };
    BandFilterProcessor(Mode mode, float frequencyHz, float widthHz = 1000.0f);
    void setFrequency(float frequencyHz);
    void setWidth(float widthHz);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    void updateCoefficients();

    Mode m_mode;
    float m_frequencyHz;
    float m_widthHz;
    double m_sampleRate = 0.0;
    Biquad m_filter;
};

} // namespace orvel
