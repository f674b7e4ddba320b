#pragma once

#include "audiofx/AudioEffectProcessor.h"
#include "audiofx/BasicProcessors.h"

#include <juce_dsp/juce_dsp.h>

#include <algorithm>
#include <cmath>

// Small conversions shared by the processors. Kept in a named namespace so that the unity build,
// which concatenates the target's sources, sees each helper exactly once.
namespace orvel::fxdetail {

inline juce::dsp::ProcessSpec juceSpec(const AudioProcessSpec &spec)
{
    return {spec.sampleRate, spec.maximumBlockSize, spec.numChannels};
}

inline juce::dsp::AudioBlock<float> juceBlock(const AudioBlockView &block)
{
    return juce::dsp::AudioBlock<float>(block.channels, block.channelCount, block.startFrame,
                                        block.frameCount);
}

// Sets the 20 ms ramp for this rate and lands on the target, so nothing glides after a prepare.
inline void prepareSmoothed(SmoothedGain &value, double sampleRate)
{
    value.reset(sampleRate, kParameterRampSeconds);
    value.setCurrentAndTargetValue(value.getTargetValue());
}

inline void snapSmoothed(SmoothedGain &value)
{
    value.setCurrentAndTargetValue(value.getTargetValue());
}

// A linear amplitude as decibels; silence maps to -100 dB instead of minus infinity.
inline float linearToDb(float value)
{
    return std::max(-100.0f, 20.0f * std::log10(std::max(value, 0.00001f)));
}

inline constexpr double kTwoPi = 6.283185307179586;

// Advances an LFO phase held in 0..1.
inline void advancePhase(double &phase, double step)
{
    phase += step;
    phase -= std::floor(phase);
}

} // namespace orvel::fxdetail
