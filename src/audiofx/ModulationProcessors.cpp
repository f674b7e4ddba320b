#include "audiofx/ModulationProcessors.h"

#include "audiofx/ProcessorSupport.h"

#include <algorithm>
#include <cmath>

namespace orvel {

using namespace fxdetail;

namespace {

// Room for the longest delay a processor reads, at this rate.
void prepareLine(DelayRing &line, const AudioProcessSpec &spec, double seconds)
{
    line.prepare(int(spec.numChannels), std::max(64, int(4 + seconds * spec.sampleRate)));
}

} // namespace

LfoProcessor::LfoProcessor(float rateHz, float maxRateHz) : m_rateHz(rateHz), m_maxRateHz(maxRateHz)
{
    m_depth.setCurrentAndTargetValue(0.5f);
}

void LfoProcessor::setRateHz(float rateHz)
{
    m_rateHz = std::clamp(rateHz, 0.01f, m_maxRateHz);
}

void LfoProcessor::setDepth(float depth)
{
    m_depth.setTargetValue(std::clamp(depth, 0.0f, 1.0f));
}

void LfoProcessor::prepareLfo(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    prepareSmoothed(m_depth, spec.sampleRate);
    m_phase = 0.0;
}

void LfoProcessor::resetLfo()
{
    m_phase = 0.0;
    snapSmoothed(m_depth);
}

TremoloProcessor::TremoloProcessor() : LfoProcessor(5.0f, 20000.0f) {}

void TremoloProcessor::prepare(const AudioProcessSpec &spec)
{
    prepareLfo(spec);
}

void TremoloProcessor::process(const AudioBlockView &block)
{
    const double step = phaseStep();
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float depth = m_depth.getNextValue();
        const float lfo = float((std::sin(kTwoPi * (m_phase + 0.25)) + 1.0) * 0.5);
        const float gain = lfo * depth + 1.0f - depth;
        for (std::uint32_t c = 0; c < block.channelCount; ++c)
            block.channel(c)[i] *= gain;
        advancePhase(m_phase, step);
    }
}

void TremoloProcessor::reset()
{
    resetLfo();
}

VibratoProcessor::VibratoProcessor() : LfoProcessor(4.0f, 100.0f) {}

void VibratoProcessor::prepare(const AudioProcessSpec &spec)
{
    prepareLfo(spec);
    prepareLine(m_line, spec, 0.01);
}

void VibratoProcessor::process(const AudioBlockView &block)
{
    const double step = phaseStep();
    const float base = float(0.0025 * m_sampleRate);
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float depth = m_depth.getNextValue();
        const float lfo = float(std::sin(kTwoPi * m_phase));
        const float delay = std::max(lfo * depth * base + base, 1.0f);
        for (std::uint32_t c = 0; c < block.channelCount; ++c) {
            float &sample = block.channel(c)[i];
            m_line.push(c, sample);
            sample = m_line.pop(c, delay);
        }
        advancePhase(m_phase, step);
    }
}

void VibratoProcessor::reset()
{
    m_line.reset();
    resetLfo();
}

void FlangerProcessor::setSpeedHz(float speedHz)
{
    m_speedHz = std::clamp(speedHz, 0.01f, 20.0f);
}

void FlangerProcessor::setDelayMs(float delayMs)
{
    m_delayMs = std::clamp(delayMs, 0.0f, 50.0f);
}

void FlangerProcessor::setDepthMs(float depthMs)
{
    m_depthMs = std::clamp(depthMs, 0.0f, 50.0f);
}

void FlangerProcessor::setRegenPercent(float regen)
{
    m_regen = std::clamp(regen, -95.0f, 95.0f);
}

void FlangerProcessor::setMixPercent(float mix)
{
    m_mix = std::clamp(mix, 0.0f, 100.0f);
}

void FlangerProcessor::setPhaseDegrees(float degrees)
{
    m_phaseOffset = degrees / 360.0;
}

void FlangerProcessor::setInvert(float invert)
{
    m_invert = invert >= 0.5f;
}

void FlangerProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    prepareLine(m_line, spec, 0.12);
    m_phase = 0.0;
}

void FlangerProcessor::process(const AudioBlockView &block)
{
    const double step = m_speedHz / m_sampleRate;
    const float mix = m_mix / 100.0f;
    const float regen = m_regen / 100.0f;
    const float framesPerMs = float(m_sampleRate / 1000.0);
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        for (std::uint32_t c = 0; c < block.channelCount; ++c) {
            const double phase = m_phase + (c == 1 ? m_phaseOffset : 0.0);
            const float lfo = float((std::sin(kTwoPi * phase) + 1.0) * 0.5);
            const float delay = std::max((lfo * m_depthMs + m_delayMs) * framesPerMs, 1.0f);
            float &sample = block.channel(c)[i];
            const float delayed = m_line.pop(c, delay);
            m_line.push(c, sample + delayed * regen);
            const float out = (delayed * mix + sample) / (mix + 1.0f);
            sample = (c == 1 && m_invert) ? -out : out;
        }
        advancePhase(m_phase, step);
    }
}

void FlangerProcessor::reset()
{
    m_line.reset();
    m_phase = 0.0;
}

AutoPanProcessor::AutoPanProcessor()
{
    m_amount.setCurrentAndTargetValue(1.0f);
    m_levelIn.setCurrentAndTargetValue(1.0f);
    m_levelOut.setCurrentAndTargetValue(1.0f);
}

void AutoPanProcessor::setRateHz(float rateHz)
{
    m_rateHz = std::clamp(rateHz, 0.001f, 100.0f);
}

void AutoPanProcessor::setAmount(float amount)
{
    m_amount.setTargetValue(std::clamp(amount, 0.0f, 1.0f));
}

void AutoPanProcessor::setLevelIn(float level)
{
    m_levelIn.setTargetValue(std::max(level, 0.0f));
}

void AutoPanProcessor::setLevelOut(float level)
{
    m_levelOut.setTargetValue(std::max(level, 0.0f));
}

void AutoPanProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    prepareSmoothed(m_amount, spec.sampleRate);
    prepareSmoothed(m_levelIn, spec.sampleRate);
    prepareSmoothed(m_levelOut, spec.sampleRate);
    m_phase = 0.0;
}

void AutoPanProcessor::process(const AudioBlockView &block)
{
    const double step = m_rateHz / m_sampleRate;
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float amount = m_amount.getNextValue();
        const float level = m_levelIn.getNextValue() * m_levelOut.getNextValue();
        for (std::uint32_t c = 0; c < block.channelCount; ++c) {
            const float lfo = float((std::sin(kTwoPi * (m_phase + 0.5 * c)) + 1.0) * 0.5);
            block.channel(c)[i] *= (lfo * amount + 1.0f - amount) * level;
        }
        advancePhase(m_phase, step);
    }
}

void AutoPanProcessor::reset()
{
    m_phase = 0.0;
    snapSmoothed(m_amount);
    snapSmoothed(m_levelIn);
    snapSmoothed(m_levelOut);
}

StereoWidenProcessor::StereoWidenProcessor()
{
    m_feedback.setCurrentAndTargetValue(0.3f);
    m_crossfeed.setCurrentAndTargetValue(0.3f);
    m_dryMix.setCurrentAndTargetValue(0.8f);
}

void StereoWidenProcessor::setDelayMs(float delayMs)
{
    m_delayMs = std::clamp(delayMs, 1.0f, 100.0f);
}

void StereoWidenProcessor::setFeedback(float feedback)
{
    m_feedback.setTargetValue(std::clamp(feedback, 0.0f, 0.9f));
}

void StereoWidenProcessor::setCrossfeed(float crossfeed)
{
    m_crossfeed.setTargetValue(std::clamp(crossfeed, 0.0f, 0.8f));
}

void StereoWidenProcessor::setDryMix(float dryMix)
{
    m_dryMix.setTargetValue(std::clamp(dryMix, 0.0f, 1.0f));
}

void StereoWidenProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    prepareLine(m_line, spec, 0.12);
    prepareSmoothed(m_feedback, spec.sampleRate);
    prepareSmoothed(m_crossfeed, spec.sampleRate);
    prepareSmoothed(m_dryMix, spec.sampleRate);
}

void StereoWidenProcessor::process(const AudioBlockView &block)
{
    if (block.channelCount < 2)
        return;
    const DelayRing::Tap tap = m_line.tap(std::max(float(m_delayMs * m_sampleRate / 1000.0), 1.0f));
    float *left = block.channel(0);
    float *right = block.channel(1);
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float feedback = m_feedback.getNextValue();
        const float crossfeed = m_crossfeed.getNextValue();
        const float dry = m_dryMix.getNextValue();
        const float delayedLeft = m_line.pop(0, tap);
        const float delayedRight = m_line.pop(1, tap);
        const float x0 = left[i];
        const float x1 = right[i];
        m_line.push(0, x0 + feedback * delayedRight);
        m_line.push(1, x1 + feedback * delayedLeft);
        left[i] = x0 * dry - crossfeed * delayedRight;
        right[i] = x1 * dry - crossfeed * delayedLeft;
    }
}

void StereoWidenProcessor::reset()
{
    m_line.reset();
    snapSmoothed(m_feedback);
    snapSmoothed(m_crossfeed);
    snapSmoothed(m_dryMix);
}

ChorusProcessor::ChorusProcessor(float inGain, float outGain) : GainFramedProcessor(inGain, outGain)
{
    m_effect.setCentreDelay(7.0f);
    m_effect.setMix(0.5f);
    m_effect.setRate(1.0f);
    m_effect.setDepth(0.25f);
}

void ChorusProcessor::setDelayMs(float delayMs)
{
    m_effect.setCentreDelay(std::clamp(delayMs, 1.0f, 99.0f));
}

void ChorusProcessor::setDecay(float decay)
{
    m_effect.setMix(std::clamp(decay, 0.0f, 1.0f));
}

void ChorusProcessor::setSpeedHz(float speedHz)
{
    m_effect.setRate(std::clamp(speedHz, 0.01f, 99.0f));
}

void ChorusProcessor::setDepth(float depth)
{
    m_effect.setDepth(std::clamp(depth / 10.0f, 0.0f, 1.0f));
}

void ChorusProcessor::prepare(const AudioProcessSpec &spec)
{
    m_effect.setFeedback(0.0f);
    prepareFrame(spec);
}

PhaserProcessor::PhaserProcessor() : GainFramedProcessor(1.0f, 1.0f)
{
    m_effect.setRate(0.5f);
    m_effect.setFeedback(0.5f);
}

float PhaserProcessor::centreHz() const
{
    const double hz = 1500.0 - m_delay * 260.0;
    return float(std::clamp(hz, 20.0, std::max(20.0, 0.45 * m_sampleRate)));
}

void PhaserProcessor::setDelay(float delay)
{
    m_delay = std::clamp(delay, 0.0f, 5.0f);
    m_effect.setCentreFrequency(centreHz());
}

void PhaserProcessor::setDecay(float decay)
{
    m_effect.setFeedback(std::clamp(decay, 0.0f, 0.95f));
}

void PhaserProcessor::setSpeedHz(float speedHz)
{
    m_effect.setRate(std::clamp(speedHz, 0.01f, 99.0f));
}

void PhaserProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    m_effect.setDepth(1.0f);
    m_effect.setMix(0.5f);
    m_effect.setCentreFrequency(centreHz());
    prepareFrame(spec);
}

} // namespace orvel
