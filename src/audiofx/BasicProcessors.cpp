#include "audiofx/BasicProcessors.h"

#include "audiofx/ProcessorSupport.h"

#include <algorithm>

namespace orvel {

using namespace fxdetail;

GainProcessor::GainProcessor(float gain)
{
    m_gain.setCurrentAndTargetValue(gain);
}

void GainProcessor::setGain(float gain)
{
    m_gain.setTargetValue(gain);
}

void GainProcessor::prepare(const AudioProcessSpec &spec)
{
    prepareSmoothed(m_gain, spec.sampleRate);
}

void GainProcessor::process(const AudioBlockView &block)
{
    if (!m_gain.isSmoothing()) {
        // Settled: one multiply per sample, which the compiler vectorises.
        const float gain = m_gain.getTargetValue();
        for (std::uint32_t c = 0; c < block.channelCount; ++c) {
            float *samples = block.channel(c);
            for (std::size_t i = 0; i < block.frameCount; ++i)
                samples[i] *= gain;
        }
        return;
    }
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float gain = m_gain.getNextValue();
        for (std::uint32_t c = 0; c < block.channelCount; ++c)
            block.channel(c)[i] *= gain;
    }
}

void GainProcessor::reset()
{
    snapSmoothed(m_gain);
}

EchoProcessor::EchoProcessor(float inGain, float outGain)
{
    m_decay.setCurrentAndTargetValue(0.5f);
    m_inGain.setCurrentAndTargetValue(std::max(inGain, 0.0f));
    m_outGain.setCurrentAndTargetValue(std::max(outGain, 0.0f));
}

void EchoProcessor::setDelayMs(float delayMs)
{
    m_delayMs = std::clamp(delayMs, 1.0f, 1000.0f);
}

void EchoProcessor::setDecay(float decay)
{
    m_decay.setTargetValue(std::clamp(decay, 0.0f, 1.0f));
}

void EchoProcessor::setInGain(float gain)
{
    m_inGain.setTargetValue(std::max(gain, 0.0f));
}

void EchoProcessor::setOutGain(float gain)
{
    m_outGain.setTargetValue(std::max(gain, 0.0f));
}

void EchoProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    // A second of delay at this rate, with a little room for the interpolator.
    m_line.prepare(int(spec.numChannels), std::max(64, int(4 + 1.05 * spec.sampleRate)),
                   int(spec.maximumBlockSize));
    prepareSmoothed(m_decay, spec.sampleRate);
    prepareSmoothed(m_inGain, spec.sampleRate);
    prepareSmoothed(m_outGain, spec.sampleRate);
}

void EchoProcessor::process(const AudioBlockView &block)
{
    // The delay jumps rather than glides, so it is set once for the block.
    const DelayRing::Tap tap = m_line.tap(std::max(float(m_delayMs * m_sampleRate / 1000.0), 1.0f));
    if (m_decay.isSmoothing() || m_inGain.isSmoothing() || m_outGain.isSmoothing()) {
        for (std::size_t i = 0; i < block.frameCount; ++i) {
            const float decay = m_decay.getNextValue();
            const float inGain = m_inGain.getNextValue();
            const float outGain = m_outGain.getNextValue();
            for (std::uint32_t c = 0; c < block.channelCount; ++c) {
                float &sample = block.channel(c)[i];
                const float dry = inGain * sample;
                const float delayed = m_line.pop(c, tap);
                m_line.push(c, dry);
                sample = (decay * delayed + dry) * outGain;
            }
        }
        return;
    }
    // Settled gains: each channel runs through its own line in one pass.
    const float decay = m_decay.getTargetValue();
    const float inGain = m_inGain.getTargetValue();
    const float outGain = m_outGain.getTargetValue();
    const auto mix = [decay, outGain](float dry, float delayed) { return (decay * delayed + dry) * outGain; };
    for (std::uint32_t c = 0; c < block.channelCount; ++c) {
        float *samples = block.channel(c);
        if (m_line.popPushBlock(c, tap, inGain, samples, block.frameCount, mix))
            continue;
        for (std::size_t i = 0; i < block.frameCount; ++i) {
            const float dry = inGain * samples[i];
            const float delayed = m_line.pop(c, tap);
            m_line.push(c, dry);
            samples[i] = mix(dry, delayed);
        }
    }
}

void EchoProcessor::reset()
{
    m_line.reset();
    snapSmoothed(m_decay);
    snapSmoothed(m_inGain);
    snapSmoothed(m_outGain);
}

BandFilterProcessor::BandFilterProcessor(Mode mode, float frequencyHz, float widthHz)
    : m_mode(mode), m_frequencyHz(frequencyHz), m_widthHz(widthHz)
{}

void BandFilterProcessor::setFrequency(float frequencyHz)
{
    if (frequencyHz == m_frequencyHz)
        return;
    m_frequencyHz = frequencyHz;
    updateCoefficients();
}

void BandFilterProcessor::setWidth(float widthHz)
{
    if (widthHz == m_widthHz)
        return;
    m_widthHz = widthHz;
    updateCoefficients();
}

void BandFilterProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    m_filter.prepare(spec.numChannels);
    updateCoefficients();
}

void BandFilterProcessor::updateCoefficients()
{
    if (m_sampleRate <= 0.0)
        return;
    const float top = std::min(float(0.45 * m_sampleRate), m_frequencyHz);
    const float frequency = std::max(20.0f, top);
    juce::dsp::IIR::Coefficients<float>::Ptr coefficients;
    if (m_mode == highPass) {
        coefficients = juce::dsp::IIR::Coefficients<float>::makeHighPass(m_sampleRate, frequency);
    } else if (m_mode == lowPass) {
        coefficients = juce::dsp::IIR::Coefficients<float>::makeLowPass(m_sampleRate, frequency);
    } else {
        const float q = std::clamp(frequency / std::max(m_widthHz, 1.0f), 0.1f, 20.0f);
        coefficients = juce::dsp::IIR::Coefficients<float>::makeBandPass(m_sampleRate, frequency, q);
    }
    m_filter.setCoefficients(coefficients->getRawCoefficients());
}

void BandFilterProcessor::process(const AudioBlockView &block)
{
    m_filter.process(block);
}

void BandFilterProcessor::reset()
{
    m_filter.reset();
}

} // namespace orvel
