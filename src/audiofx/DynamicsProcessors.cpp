#include "audiofx/DynamicsProcessors.h"

#include "audiofx/ProcessorSupport.h"

#include <algorithm>
#include <cmath>

namespace orvel {

using namespace fxdetail;

CompressorProcessor::CompressorProcessor()
{
    m_compressor.setThreshold(-18.0f);
    m_compressor.setRatio(4.0f);
    m_compressor.setAttack(10.0f);
    m_compressor.setRelease(100.0f);
}

void CompressorProcessor::setThresholdDb(float thresholdDb)
{
    m_compressor.setThreshold(thresholdDb);
}

void CompressorProcessor::setThresholdLinear(float threshold)
{
    m_compressor.setThreshold(20.0f * std::log10(std::max(threshold, 0.00001f)));
}

void CompressorProcessor::setRatio(float ratio)
{
    m_compressor.setRatio(std::max(ratio, 1.0f));
}

void CompressorProcessor::setAttackMs(float attackMs)
{
    m_compressor.setAttack(std::max(attackMs, 0.01f));
}

void CompressorProcessor::setReleaseMs(float releaseMs)
{
    m_compressor.setRelease(std::max(releaseMs, 0.01f));
}

void CompressorProcessor::setMakeup(float gain)
{
    m_makeup.setGain(std::max(gain, 0.0f));
}

void CompressorProcessor::prepare(const AudioProcessSpec &spec)
{
    m_compressor.prepare(juceSpec(spec));
    m_makeup.prepare(spec);
}

void CompressorProcessor::process(const AudioBlockView &block)
{
    auto juce = juceBlock(block);
    m_compressor.process(juce::dsp::ProcessContextReplacing<float>(juce));
    m_makeup.process(block);
}

void CompressorProcessor::reset()
{
    m_compressor.reset();
    m_makeup.reset();
}

LimiterProcessor::LimiterProcessor()
{
    m_limiter.setRelease(50.0f);
    m_limiter.setThreshold(-1.0f);
}

void LimiterProcessor::setDrive(float gain)
{
    m_drive.setGain(std::max(gain, 0.0f));
}

void LimiterProcessor::setCeiling(float ceiling)
{
    m_limiter.setThreshold(linearToDb(ceiling));
}

void LimiterProcessor::prepare(const AudioProcessSpec &spec)
{
    m_drive.prepare(spec);
    m_limiter.prepare(juceSpec(spec));
}

void LimiterProcessor::process(const AudioBlockView &block)
{
    m_drive.process(block);
    auto juce = juceBlock(block);
    m_limiter.process(juce::dsp::ProcessContextReplacing<float>(juce));
}

void LimiterProcessor::reset()
{
    m_drive.reset();
    m_limiter.reset();
}

GateProcessor::GateProcessor()
{
    m_gate.setThreshold(-40.0f);
    m_gate.setRatio(10.0f);
    m_gate.setAttack(1.0f);
    m_gate.setRelease(100.0f);
}

void GateProcessor::setThreshold(float threshold)
{
    m_gate.setThreshold(linearToDb(threshold));
}

void GateProcessor::setRatio(float ratio)
{
    m_gate.setRatio(std::max(ratio, 1.0f));
}

void GateProcessor::setAttackMs(float attackMs)
{
    m_gate.setAttack(std::max(attackMs, 0.01f));
}

void GateProcessor::setReleaseMs(float releaseMs)
{
    m_gate.setRelease(std::max(releaseMs, 0.01f));
}

void GateProcessor::prepare(const AudioProcessSpec &spec)
{
    m_gate.prepare(juceSpec(spec));
}

void GateProcessor::process(const AudioBlockView &block)
{
    auto juce = juceBlock(block);
    m_gate.process(juce::dsp::ProcessContextReplacing<float>(juce));
}

void GateProcessor::reset()
{
    m_gate.reset();
}

DeEsserProcessor::DeEsserProcessor()
{
    m_intensity.setCurrentAndTargetValue(0.5f);
    m_amount.setCurrentAndTargetValue(0.5f);
}

void DeEsserProcessor::setIntensity(float intensity)
{
    m_intensity.setTargetValue(std::clamp(intensity, 0.0f, 1.0f));
}

void DeEsserProcessor::setAmount(float amount)
{
    m_amount.setTargetValue(std::clamp(amount, 0.0f, 1.0f));
}

void DeEsserProcessor::setFrequency(float frequency)
{
    const float clamped = std::clamp(frequency, 0.0f, 1.0f);
    if (clamped == m_frequency)
        return;
    m_frequency = clamped;
    updateFilter();
}

float DeEsserProcessor::highPassHz() const
{
    const double top = std::min(0.45 * m_sampleRate, m_frequency * 10000.0 + 2000.0);
    return float(std::max(1000.0, top));
}

void DeEsserProcessor::updateFilter()
{
    if (m_sampleRate <= 0.0)
        return;
    auto coefficients = juce::dsp::IIR::Coefficients<float>::makeHighPass(m_sampleRate, highPassHz());
    m_highPass.setCoefficients(coefficients->getRawCoefficients());
}

void DeEsserProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    m_highPass.prepare(spec.numChannels);
    updateFilter();
    m_envelopes.assign(spec.numChannels, 0.0f);
    m_scratchFrames = spec.maximumBlockSize;
    m_scratch.assign(std::size_t(spec.numChannels) * m_scratchFrames, 0.0f);
    m_scratchChannels.resize(spec.numChannels);
    for (std::uint32_t c = 0; c < spec.numChannels; ++c)
        m_scratchChannels[c] = m_scratch.data() + c * m_scratchFrames;
    prepareSmoothed(m_intensity, spec.sampleRate);
    prepareSmoothed(m_amount, spec.sampleRate);
}

void DeEsserProcessor::process(const AudioBlockView &block)
{
    const std::uint32_t channels =
        std::min<std::uint32_t>(block.channelCount, std::uint32_t(m_scratchChannels.size()));
    const std::size_t frames = std::min(block.frameCount, m_scratchFrames);
    for (std::uint32_t c = 0; c < channels; ++c)
        std::copy_n(block.channel(c), frames, m_scratchChannels[c]);
    m_highPass.process({m_scratchChannels.data(), channels, 0, frames});
    for (std::uint32_t c = 0; c < channels; ++c) {
        float *high = m_scratchChannels[c];
        for (std::size_t i = 0; i < frames; ++i)
            if (std::abs(high[i]) < 1e-8f)
                high[i] = 0.0f;
    }
    const float attack = float(std::exp(-1.0 / (m_sampleRate * 0.001)));
    const float release = float(std::exp(-1.0 / (m_sampleRate * 0.06)));
    for (std::size_t i = 0; i < frames; ++i) {
        const float intensity = m_intensity.getNextValue();
        const float amount = m_amount.getNextValue();
        for (std::uint32_t c = 0; c < channels; ++c) {
            const float h = m_scratchChannels[c][i];
            float &envelope = m_envelopes[c];
            const float coefficient = std::abs(h) > envelope ? attack : release;
            envelope = (1.0f - coefficient) * std::abs(h) + coefficient * envelope;
            const float g = std::clamp(envelope * intensity * 4.0f, 0.0f, amount);
            block.channel(c)[i] -= g * h;
        }
    }
}

void DeEsserProcessor::reset()
{
    m_highPass.reset();
    std::fill(m_envelopes.begin(), m_envelopes.end(), 0.0f);
    snapSmoothed(m_intensity);
    snapSmoothed(m_amount);
}

void LevelerProcessor::setStrength(float strength)
{
    m_strength = std::clamp(strength, 1.0f, 50.0f);
}

void LevelerProcessor::setPeak(float peak)
{
    m_peak = std::clamp(peak, 0.05f, 1.0f);
}

void LevelerProcessor::prepare(const AudioProcessSpec &spec)
{
    m_release = std::exp(-1.0 / (spec.sampleRate * 0.4));
    // Steps are per frame, so they shrink at higher rates to keep the same speed per second.
    const double scale = 48000.0 / std::max(spec.sampleRate, 1.0);
    m_upStep = 0.0005 * scale;
    m_downStep = 0.001 * scale;
    reset();
}

void LevelerProcessor::process(const AudioBlockView &block)
{
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        double peak = 0.0;
        for (std::uint32_t c = 0; c < block.channelCount; ++c)
            peak = std::max(peak, double(std::abs(block.channel(c)[i])));
        m_envelope = peak > m_envelope ? peak : (1.0 - m_release) * peak + m_release * m_envelope;
        double target = 1.0;
        if (m_envelope > 0.0001) {
            const double wanted = m_peak / m_envelope;
            target = wanted < 1.0 ? 1.0 : std::min(double(m_strength), wanted);
        }
        m_gain += std::clamp(target - m_gain, -m_downStep, m_upStep);
        for (std::uint32_t c = 0; c < block.channelCount; ++c)
            block.channel(c)[i] = float(block.channel(c)[i] * m_gain);
    }
}

void LevelerProcessor::reset()
{
    m_envelope = 0.0;
    m_gain = 1.0;
}

} // namespace orvel
