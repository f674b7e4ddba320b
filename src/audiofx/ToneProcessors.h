#pragma once

#include "audiofx/BasicProcessors.h"

#include <juce_dsp/juce_dsp.h>

#include <array>
#include <vector>

namespace orvel {

// Low shelf, peak and high shelf in series, each gain in decibels.
class ThreeBandEqProcessor final : public AudioEffectProcessor
{
public:
    void setLowDb(float gainDb);
    void setMidDb(float gainDb);
    void setHighDb(float gainDb);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

    // The centre frequencies used at this rate; kept below Nyquist for low rates.
    static float lowShelfHz(double sampleRate);
    static float peakHz(double sampleRate);
    static float highShelfHz(double sampleRate);

private:
    void updateCoefficients();

    float m_lowDb = 0.0f;
    float m_midDb = 0.0f;
    float m_highDb = 0.0f;
    double m_sampleRate = 0.0;
    std::array<Biquad, 3> m_bands; // low shelf, peak, high shelf
};

// Reduces bit depth and holds samples, blended with the dry signal.
class BitCrusherProcessor final : public AudioEffectProcessor
{
public:
    enum Mode
    {
        linear = 0,
        logarithmic = 1
    };
    BitCrusherProcessor(Mode mode, float bits);
    void setBits(float bits);
    void setHoldSamples(float samples);
    void setMix(float mix);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    float quantise(float x) const;

    Mode m_mode;
    float m_bits;
    int m_holdSamples = 1;
    SmoothedGain m_mix;
    std::vector<int> m_counters;
    std::vector<float> m_held;
};

// Exaggerates the difference between successive samples, then quantises to a number of levels.
class CrystalizerProcessor final : public AudioEffectProcessor
{
public:
    CrystalizerProcessor();
    void setIntensity(float intensity);
    void setColors(float colors);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;

private:
    SmoothedGain m_intensity;
    float m_colors = 256.0f;
    std::vector<float> m_previous;
};

} // namespace orvel
