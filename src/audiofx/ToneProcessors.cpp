#include "audiofx/ToneProcessors.h"

#include "audiofx/ProcessorSupport.h"

#include <algorithm>
#include <cmath>

namespace orvel {

using namespace fxdetail;

namespace {

// The shelf and peak formulas need a positive, finite gain: -120 dB is silence for every
// practical use, and boosts past 100 dB would overflow the coefficients.
float eqGainFactor(float gainDb)
{
    const float linear = gainDb < -100.0f ? 0.0f : std::pow(10.0f, std::min(gainDb, 100.0f) * 0.05f);
    return std::max(linear, 1e-6f);
}

} // namespace

void ThreeBandEqProcessor::setLowDb(float gainDb)
{
    // The rack applies every value before each block; only a real change recomputes the bands.
    if (gainDb == m_lowDb)
        return;
    m_lowDb = gainDb;
    updateCoefficients();
}

void ThreeBandEqProcessor::setMidDb(float gainDb)
{
    // The rack applies every value before each block; only a real change recomputes the bands.
    if (gainDb == m_midDb)
        return;
    m_midDb = gainDb;
    updateCoefficients();
}

void ThreeBandEqProcessor::setHighDb(float gainDb)
{
    // The rack applies every value before each block; only a real change recomputes the bands.
    if (gainDb == m_highDb)
        return;
    m_highDb = gainDb;
    updateCoefficients();
}

float ThreeBandEqProcessor::lowShelfHz(double sampleRate)
{
    return float(std::min(110.0, 0.45 * sampleRate));
}

float ThreeBandEqProcessor::peakHz(double sampleRate)
{
    return float(std::min(1000.0, 0.45 * sampleRate));
}

float ThreeBandEqProcessor::highShelfHz(double sampleRate)
{
    return float(std::min(8000.0, 0.45 * sampleRate));
}

void ThreeBandEqProcessor::updateCoefficients()
{
    if (m_sampleRate <= 0.0)
        return;
    using Coefficients = juce::dsp::IIR::Coefficients<float>;
    const double rate = m_sampleRate;
    auto low = Coefficients::makeLowShelf(rate, lowShelfHz(rate), 0.707f, eqGainFactor(m_lowDb));
    auto mid = Coefficients::makePeakFilter(rate, peakHz(rate), 1.2f, eqGainFactor(m_midDb));
    auto high = Coefficients::makeHighShelf(rate, highShelfHz(rate), 0.707f, eqGainFactor(m_highDb));
    m_bands[0].setCoefficients(low->getRawCoefficients());
    m_bands[1].setCoefficients(mid->getRawCoefficients());
    m_bands[2].setCoefficients(high->getRawCoefficients());
}

void ThreeBandEqProcessor::prepare(const AudioProcessSpec &spec)
{
    m_sampleRate = spec.sampleRate;
    for (Biquad &band : m_bands)
        band.prepare(spec.numChannels);
    updateCoefficients();
}

void ThreeBandEqProcessor::process(const AudioBlockView &block)
{
    for (Biquad &band : m_bands)
        band.process(block);
}

void ThreeBandEqProcessor::reset()
{
    for (Biquad &band : m_bands)
        band.reset();
}

BitCrusherProcessor::BitCrusherProcessor(Mode mode, float bits)
    : m_mode(mode), m_bits(std::clamp(bits, 1.0f, 24.0f))
{
    m_mix.setCurrentAndTargetValue(1.0f);
}

void BitCrusherProcessor::setBits(float bits)
{
    m_bits = std::clamp(bits, 1.0f, 24.0f);
}

void BitCrusherProcessor::setHoldSamples(float samples)
{
    m_holdSamples = int(std::lround(std::clamp(samples, 1.0f, 250.0f)));
}

void BitCrusherProcessor::setMix(float mix)
{
    m_mix.setTargetValue(std::clamp(mix, 0.0f, 1.0f));
}

void BitCrusherProcessor::prepare(const AudioProcessSpec &spec)
{
    m_counters.assign(spec.numChannels, 0);
    m_held.assign(spec.numChannels, 0.0f);
    prepareSmoothed(m_mix, spec.sampleRate);
}

float BitCrusherProcessor::quantise(float x) const
{
    if (m_mode == linear) {
        const float steps = std::exp2(m_bits - 1.0f);
        return std::round(x * steps) / steps;
    }
    if (std::abs(x) < 1e-6f)
        return 0.0f;
    const float precision = std::max(m_bits * 4.0f, 1.0f);
    const float magnitude = std::exp2(std::round(std::log2(std::abs(x)) * precision) / precision);
    return std::copysign(magnitude, x);
}

void BitCrusherProcessor::process(const AudioBlockView &block)
{
    const std::uint32_t channels =
        std::min<std::uint32_t>(block.channelCount, std::uint32_t(m_counters.size()));
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float mix = m_mix.getNextValue();
        for (std::uint32_t c = 0; c < channels; ++c) {
            float &sample = block.channel(c)[i];
            if (m_counters[c] <= 0) {
                m_held[c] = quantise(sample);
                m_counters[c] = m_holdSamples;
            }
            --m_counters[c];
            sample = (m_held[c] - sample) * mix + sample;
        }
    }
}

void BitCrusherProcessor::reset()
{
    std::fill(m_counters.begin(), m_counters.end(), 0);
    std::fill(m_held.begin(), m_held.end(), 0.0f);
    snapSmoothed(m_mix);
}

CrystalizerProcessor::CrystalizerProcessor()
{
    m_intensity.setCurrentAndTargetValue(2.0f);
}

void CrystalizerProcessor::setIntensity(float intensity)
{
    m_intensity.setTargetValue(intensity);
}

void CrystalizerProcessor::setColors(float colors)
{
    m_colors = std::clamp(colors, 2.0f, 256.0f);
}

void CrystalizerProcessor::prepare(const AudioProcessSpec &spec)
{
    m_previous.assign(spec.numChannels, 0.0f);
    prepareSmoothed(m_intensity, spec.sampleRate);
}

void CrystalizerProcessor::process(const AudioBlockView &block)
{
    const std::uint32_t channels =
        std::min<std::uint32_t>(block.channelCount, std::uint32_t(m_previous.size()));
    const float step = 2.0f / m_colors;
    for (std::size_t i = 0; i < block.frameCount; ++i) {
        const float intensity = m_intensity.getNextValue();
        for (std::uint32_t c = 0; c < channels; ++c) {
            float &sample = block.channel(c)[i];
            const float x = sample;
            const float sharpened = (x - m_previous[c]) * intensity + x;
            sample = std::clamp(std::round(sharpened / step) * step, -1.0f, 1.0f);
            m_previous[c] = x;
        }
    }
}

void CrystalizerProcessor::reset()
{
    std::fill(m_previous.begin(), m_previous.end(), 0.0f);
    snapSmoothed(m_intensity);
}

} // namespace orvel
