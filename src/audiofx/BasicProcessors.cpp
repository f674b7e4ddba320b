#include "audiofx/BasicProcessors.h"

#include <algorithm>

namespace orvel {

namespace {

juce::dsp::ProcessSpec toJuceSpec(const AudioProcessSpec &spec)
{
    return {spec.sampleRate, spec.maximumBlockSize, spec.numChannels};
}

void prepareRamp(SmoothedGain &value, double sampleRate)
{
    value.reset(sampleRate, kParameterRampSeconds);
    value.setCurrentAndTargetValue(value.getTargetValue());
}

} // namespace

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
    prepareRamp(m_gain, spec.sampleRate);
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
    m_gain.setCurrentAndTargetValue(m_gain.getTargetValue());
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
    m_line.setMaximumDelayInSamples(std::max(64, int(4 + 1.05 * spec.sampleRate)));
    m_line.prepare(toJuceSpec(spec));
    prepareRamp(m_decay, spec.sampleRate);
    prepareRamp(m_inGain, spec.sampleRate);
    prepareRamp(m_outGain, spec.sampleRate);
}

void EchoProcessor::process(const AudioBlockView &block)
{
    // The delay jumps rather than glides, so it is set once for the block.
    m_line.setDelay(std::max(float(m_delayMs * m_sampleRate / 1000.0), 1.0f));
    const bool smoothing = m_decay.isSmoothing() || m_inGain.isSmoothing() || m_outGain.isSmoothing();
    float decay = m_decay.getTargetValue();
    float inGain = m_inGain.getTargetValue();
    float outGain = m_outGain.getTargetValue();
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        if (smoothing) {
            decay = m_decay.getNextValue();
            inGain = m_inGain.getNextValue();
            outGain = m_outGain.getNextValue();
        }
        for (std::uint32_t c = 0; c < block.channelCount; ++c) {
            float &sample = block.channel(c)[i];
            const float dry = inGain * sample;
            const float delayed = m_line.popSample(int(c));
            m_line.pushSample(int(c), dry);
            sample = (decay * delayed + dry) * outGain;
        }
    }
}

void EchoProcessor::reset()
{
    m_line.reset();
    m_decay.setCurrentAndTargetValue(m_decay.getTargetValue());
    m_inGain.setCurrentAndTargetValue(m_inGain.getTargetValue());
    m_outGain.setCurrentAndTargetValue(m_outGain.getTargetValue());
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
    m_filters.clear();
    m_filters.resize(spec.numChannels);
    updateCoefficients();
    for (auto &filter : m_filters)
        filter.prepare({spec.sampleRate, spec.maximumBlockSize, 1});
}

void BandFilterProcessor::updateCoefficients()
{
    if (m_sampleRate <= 0.0 || m_filters.empty())
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
    for (auto &filter : m_filters)
        filter.coefficients = coefficients;
}

void BandFilterProcessor::process(const AudioBlockView &block)
{
    const std::uint32_t channels =
        std::min<std::uint32_t>(block.channelCount, std::uint32_t(m_filters.size()));
    for (std::uint32_t c = 0; c < channels; ++c) {
        // The block form runs the biquad's own unrolled loop instead of a generic one per sample.
        float *samples[] = {block.channel(c)};
        juce::dsp::AudioBlock<float> mono(samples, 1, block.frameCount);
        m_filters[c].process(juce::dsp::ProcessContextReplacing<float>(mono));
    }
}

void BandFilterProcessor::reset()
{
    for (auto &filter : m_filters)
        filter.reset();
}

} // namespace orvel
