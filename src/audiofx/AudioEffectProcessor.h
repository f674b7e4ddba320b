#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel {

// What a processor is prepared for. Mirrors JUCE's ProcessSpec so that wrappers of JUCE objects
// convert field by field, without JUCE's headers leaking into every user of the rack.
struct AudioProcessSpec
{
    double sampleRate = 48000.0;
    std::uint32_t maximumBlockSize = 1024;
    std::uint32_t numChannels = 2;
};

// A planar block processed in place: one pointer per channel, frames counted from startFrame.
struct AudioBlockView
{
    float *const *channels = nullptr;
    std::uint32_t channelCount = 0;
    std::size_t startFrame = 0;
    std::size_t frameCount = 0;

    float *channel(std::uint32_t index) const { return channels[index] + startFrame; }
};

// One real-time audio effect. Setters live on the concrete classes and are reached by name
// through ChainProcessor; they clamp instead of failing.
class AudioEffectProcessor
{
public:
    virtual ~AudioEffectProcessor() = default;
    // Takes the sample rate, largest block and channel count, and clears all state.
    virtual void prepare(const AudioProcessSpec &spec) = 0;
    virtual void process(const AudioBlockView &block) = 0;
    // Clears delay lines, envelopes and phases; parameters stay.
    virtual void reset() = 0;
    // Frames of delay the processor adds to the signal.
    virtual int latencyFrames() const { return 0; }
};

} // namespace orvel
