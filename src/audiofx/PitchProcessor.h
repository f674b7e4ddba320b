#pragma once

#include "audiofx/AudioEffectProcessor.h"

#include <memory>
#include <vector>

namespace soundtouch {
class SoundTouch;
}

namespace orvel {

// Shifts pitch by a ratio without changing length. SoundTouch works in sequences, so the output
// starts with silence for latencyFrames() and then follows the input by that much.
class SoundTouchPitchProcessor final : public AudioEffectProcessor
{
public:
    SoundTouchPitchProcessor();
    ~SoundTouchPitchProcessor() override;
    void setPitch(float ratio);

    void prepare(const AudioProcessSpec &spec) override;
    void process(const AudioBlockView &block) override;
    void reset() override;
    int latencyFrames() const override;

private:
    void drainIntoQueue();

    std::unique_ptr<soundtouch::SoundTouch> m_soundTouch;
    float m_pitch = 1.0f;
    int m_nominalFrames = 64;
    int m_initialLatencyFrames = 0;
    bool m_priming = true;
    std::vector<float> m_interleaved;
    std::vector<float> m_queue; // interleaved stereo frames waiting to be played
    std::size_t m_queueStart = 0;
};

} // namespace orvel
