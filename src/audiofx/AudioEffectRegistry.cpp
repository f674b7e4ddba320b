#include "audiofx/AudioEffectRegistry.h"

#include "audiofx/BasicProcessors.h"
#include "audiofx/DynamicsProcessors.h"
#include "audiofx/ModulationProcessors.h"
#include "audiofx/PitchProcessor.h"
#include "audiofx/ToneProcessors.h"

#include <QHash>

#include <functional>
#include <utility>
#include <vector>

namespace orvel {

namespace {

using ChainBuilder = std::function<void(ChainProcessor &)>;
using Filter = BandFilterProcessor;
using Crusher = BitCrusherProcessor;

template <typename T> using Setters = std::vector<std::pair<const char *, void (T::*)(float)>>;

template <typename T> T *bindAll(ChainProcessor &chain, T *processor, const Setters<T> &setters)
{
    for (const auto &[name, setter] : setters)
        chain.bind(QLatin1String(name), processor, setter);
    return processor;
}

// A chain of one processor built with its defaults, its parameters bound by name.
template <typename T> ChainBuilder single(Setters<T> setters)
{
    return [setters = std::move(setters)](ChainProcessor &chain) { bindAll(chain, chain.add<T>(), setters); };
}

// A high-pass and a low-pass in series, their cutoffs named as the package names them.
void addBand(ChainProcessor &chain, float lowCutHz, float highCutHz, const char *lowName,
             const char *highName)
{
    bindAll(chain, chain.add<Filter>(Filter::highPass, lowCutHz), {{lowName, &Filter::setFrequency}});
    bindAll(chain, chain.add<Filter>(Filter::lowPass, highCutHz), {{highName, &Filter::setFrequency}});
}

void addGrit(ChainProcessor &chain, float bits)
{
    bindAll(chain, chain.add<Crusher>(Crusher::linear, bits), {{"grit", &Crusher::setMix}});
}

ChainBuilder crusher(Crusher::Mode mode)
{
    return [mode](ChainProcessor &chain) {
        bindAll(
            chain, chain.add<Crusher>(mode, 8.0f),
            {{"bits", &Crusher::setBits}, {"samples", &Crusher::setHoldSamples}, {"mix", &Crusher::setMix}});
    };
}

const Setters<CompressorProcessor> kCompressorTimes{{"ratio", &CompressorProcessor::setRatio},
                                                    {"attack", &CompressorProcessor::setAttackMs},
                                                    {"release", &CompressorProcessor::setReleaseMs}};

void buildCompressor(ChainProcessor &chain, void (CompressorProcessor::*threshold)(float), bool makeup)
{
    auto *compressor = bindAll(chain, chain.add<CompressorProcessor>(), {{"threshold", threshold}});
    bindAll(chain, compressor, kCompressorTimes);
    if (makeup)
        bindAll(chain, compressor, {{"makeup", &CompressorProcessor::setMakeup}});
}

void buildDarklord(ChainProcessor &chain)
{
    bindAll(chain, chain.add<SoundTouchPitchProcessor>(), {{"pitch", &SoundTouchPitchProcessor::setPitch}});
    bindAll(chain, chain.add<EchoProcessor>(0.8f, 0.9f),
            {{"echo_delay", &EchoProcessor::setDelayMs}, {"echo_decay", &EchoProcessor::setDecay}});
    addGrit(chain, 10.0f);
}

void buildMegaphone(ChainProcessor &chain)
{
    bindAll(chain, chain.add<Filter>(Filter::bandPass, 1500.0f),
            {{"center", &Filter::setFrequency}, {"width", &Filter::setWidth}});
    addGrit(chain, 8.0f);
}

void buildUnderwater(ChainProcessor &chain)
{
    bindAll(chain, chain.add<Filter>(Filter::lowPass, 500.0f), {{"cutoff", &Filter::setFrequency}});
    auto *chorus = bindAll(chain, chain.add<ChorusProcessor>(1.0f, 0.9f),
                           {{"wet", &ChorusProcessor::setInGain}, {"motion", &ChorusProcessor::setSpeedHz}});
    chorus->setDelayMs(50.0f);
    chorus->setDecay(0.4f);
    chorus->setDepth(2.0f);
}

void buildMuffled(ChainProcessor &chain)
{
    bindAll(chain, chain.add<Filter>(Filter::lowPass, 800.0f), {{"cutoff", &Filter::setFrequency}});
    bindAll(chain, chain.add<GainProcessor>(1.0f), {{"gain", &GainProcessor::setGain}});
}

void buildVinyl(ChainProcessor &chain)
{
    addBand(chain, 200.0f, 6000.0f, "highpass", "lowpass");
    bindAll(chain, chain.add<VibratoProcessor>(),
            {{"wobble", &VibratoProcessor::setRateHz}, {"flutter", &VibratoProcessor::setDepth}});
}

const QHash<QString, ChainBuilder> &registry()
{
    using Eq = ThreeBandEqProcessor;
    using Flanger = FlangerProcessor;
    using Chorus = ChorusProcessor;
    using Phaser = PhaserProcessor;
    using Pan = AutoPanProcessor;
    using Widen = StereoWidenProcessor;
    static const QHash<QString, ChainBuilder> table{
        {"eq3", single<Eq>({{"low", &Eq::setLowDb}, {"mid", &Eq::setMidDb}, {"high", &Eq::setHighDb}})},
        {"compressor",
         [](ChainProcessor &chain) { buildCompressor(chain, &CompressorProcessor::setThresholdDb, true); }},
        {"tape",
         [](ChainProcessor &chain) {
             buildCompressor(chain, &CompressorProcessor::setThresholdLinear, false);
         }},
        {"limiter", single<LimiterProcessor>({{"drive", &LimiterProcessor::setDrive},
                                              {"ceiling", &LimiterProcessor::setCeiling}})},
        {"gate", single<GateProcessor>({{"threshold", &GateProcessor::setThreshold},
                                        {"ratio", &GateProcessor::setRatio},
                                        {"attack", &GateProcessor::setAttackMs},
                                        {"release", &GateProcessor::setReleaseMs}})},
        {"deesser", single<DeEsserProcessor>({{"intensity", &DeEsserProcessor::setIntensity},
                                              {"amount", &DeEsserProcessor::setAmount},
                                              {"frequency", &DeEsserProcessor::setFrequency}})},
        {"leveler", single<LevelerProcessor>({{"strength", &LevelerProcessor::setStrength},
                                              {"peak", &LevelerProcessor::setPeak}})},
        {"pitch", single<SoundTouchPitchProcessor>({{"pitch", &SoundTouchPitchProcessor::setPitch}})},
        {"darklord", buildDarklord},
        {"tremolo", single<TremoloProcessor>({{"rate", &TremoloProcessor::setRateHz},
                                              {"freq", &TremoloProcessor::setRateHz},
                                              {"depth", &TremoloProcessor::setDepth}})},
        {"vibrato", single<VibratoProcessor>(
                        {{"rate", &VibratoProcessor::setRateHz}, {"depth", &VibratoProcessor::setDepth}})},
        {"flanger", single<Flanger>({{"speed", &Flanger::setSpeedHz},
                                     {"rate", &Flanger::setSpeedHz},
                                     {"delay", &Flanger::setDelayMs},
                                     {"depth", &Flanger::setDepthMs},
                                     {"regen", &Flanger::setRegenPercent},
                                     {"mix", &Flanger::setMixPercent},
                                     {"phase", &Flanger::setPhaseDegrees},
                                     {"invert", &Flanger::setInvert}})},
        {"bandlimit", [](ChainProcessor &chain) { addBand(chain, 300.0f, 3400.0f, "low_cut", "high_cut"); }},
        {"walkie",
         [](ChainProcessor &chain) {
             addBand(chain, 400.0f, 3000.0f, "low_cut", "high_cut");
             addGrit(chain, 6.0f);
         }},
        {"megaphone", buildMegaphone},
        {"underwater", buildUnderwater},
        {"muffled", buildMuffled},
        {"bitcrush", crusher(Crusher::linear)},
        {"bitcrush_log", crusher(Crusher::logarithmic)},
        {"vinyl", buildVinyl},
        {"crystalizer", single<CrystalizerProcessor>({{"intensity", &CrystalizerProcessor::setIntensity},
                                                      {"colors", &CrystalizerProcessor::setColors}})},
        {"echo", single<EchoProcessor>({{"delay", &EchoProcessor::setDelayMs},
                                        {"decay", &EchoProcessor::setDecay},
                                        {"in_gain", &EchoProcessor::setInGain},
                                        {"out_gain", &EchoProcessor::setOutGain}})},
        {"chorus", single<Chorus>({{"in_gain", &Chorus::setInGain},
                                   {"out_gain", &Chorus::setOutGain},
                                   {"delay", &Chorus::setDelayMs},
                                   {"decay", &Chorus::setDecay},
                                   {"speed", &Chorus::setSpeedHz},
                                   {"depth", &Chorus::setDepth}})},
        {"phaser", single<Phaser>({{"in_gain", &Phaser::setInGain},
                                   {"out_gain", &Phaser::setOutGain},
                                   {"delay", &Phaser::setDelay},
                                   {"decay", &Phaser::setDecay},
                                   {"speed", &Phaser::setSpeedHz}})},
        {"autopan", single<Pan>({{"rate", &Pan::setRateHz},
                                 {"amount", &Pan::setAmount},
                                 {"level_in", &Pan::setLevelIn},
                                 {"level_out", &Pan::setLevelOut}})},
        {"stereowiden", single<Widen>({{"delay", &Widen::setDelayMs},
                                       {"feedback", &Widen::setFeedback},
                                       {"crossfeed", &Widen::setCrossfeed},
                                       {"drymix", &Widen::setDryMix}})},
    };
    return table;
}

} // namespace

std::unique_ptr<ChainProcessor> makeChain(const QString &processorId)
{
    const auto it = registry().constFind(processorId);
    if (it == registry().constEnd())
        return nullptr;
    auto chain = std::make_unique<ChainProcessor>();
    (*it)(*chain);
    return chain;
}

bool isKnownProcessor(const QString &processorId)
{
    return registry().contains(processorId);
}

QStringList knownProcessorIds()
{
    QStringList ids = registry().keys();
    ids.sort();
    return ids;
}

} // namespace orvel
