#include "audiofx/AudioEffectRegistry.h"

#include "audiofx/BasicProcessors.h"
#include "audiofx/DynamicsProcessors.h"
#include "audiofx/ModulationProcessors.h"
#include "audiofx/PitchProcessor.h"
#include "audiofx/ToneProcessors.h"

#include <QHash>

#include <functional>

namespace orvel {

namespace {

using ChainBuilder = std::function<void(ChainProcessor &)>;
using Filter = BandFilterProcessor;

void buildEq3(ChainProcessor &chain)
{
    auto *eq = chain.add<ThreeBandEqProcessor>();
    chain.bind("low", eq, &ThreeBandEqProcessor::setLowDb);
    chain.bind("mid", eq, &ThreeBandEqProcessor::setMidDb);
    chain.bind("high", eq, &ThreeBandEqProcessor::setHighDb);
}

void bindCompressorTimes(ChainProcessor &chain, CompressorProcessor *compressor)
{
    chain.bind("ratio", compressor, &CompressorProcessor::setRatio);
    chain.bind("attack", compressor, &CompressorProcessor::setAttackMs);
    chain.bind("release", compressor, &CompressorProcessor::setReleaseMs);
}

void buildCompressor(ChainProcessor &chain)
{
    auto *compressor = chain.add<CompressorProcessor>();
    chain.bind("threshold", compressor, &CompressorProcessor::setThresholdDb);
    bindCompressorTimes(chain, compressor);
    chain.bind("makeup", compressor, &CompressorProcessor::setMakeup);
}

void buildTape(ChainProcessor &chain)
{
    auto *compressor = chain.add<CompressorProcessor>();
    chain.bind("threshold", compressor, &CompressorProcessor::setThresholdLinear);
    bindCompressorTimes(chain, compressor);
}

void buildLimiter(ChainProcessor &chain)
{
    auto *limiter = chain.add<LimiterProcessor>();
    chain.bind("drive", limiter, &LimiterProcessor::setDrive);
    chain.bind("ceiling", limiter, &LimiterProcessor::setCeiling);
}

void buildGate(ChainProcessor &chain)
{
    auto *gate = chain.add<GateProcessor>();
    chain.bind("threshold", gate, &GateProcessor::setThreshold);
    chain.bind("ratio", gate, &GateProcessor::setRatio);
    chain.bind("attack", gate, &GateProcessor::setAttackMs);
    chain.bind("release", gate, &GateProcessor::setReleaseMs);
}

void buildDeEsser(ChainProcessor &chain)
{
    auto *deesser = chain.add<DeEsserProcessor>();
    chain.bind("intensity", deesser, &DeEsserProcessor::setIntensity);
    chain.bind("amount", deesser, &DeEsserProcessor::setAmount);
    chain.bind("frequency", deesser, &DeEsserProcessor::setFrequency);
}

void buildLeveler(ChainProcessor &chain)
{
    auto *leveler = chain.add<LevelerProcessor>();
    chain.bind("strength", leveler, &LevelerProcessor::setStrength);
    chain.bind("peak", leveler, &LevelerProcessor::setPeak);
}

void buildPitch(ChainProcessor &chain)
{
    auto *pitch = chain.add<SoundTouchPitchProcessor>();
    chain.bind("pitch", pitch, &SoundTouchPitchProcessor::setPitch);
}

void buildDarklord(ChainProcessor &chain)
{
    auto *pitch = chain.add<SoundTouchPitchProcessor>();
    auto *echo = chain.add<EchoProcessor>(0.8f, 0.9f);
    auto *crusher = chain.add<BitCrusherProcessor>(BitCrusherProcessor::linear, 10.0f);
    chain.bind("pitch", pitch, &SoundTouchPitchProcessor::setPitch);
    chain.bind("echo_delay", echo, &EchoProcessor::setDelayMs);
    chain.bind("echo_decay", echo, &EchoProcessor::setDecay);
    chain.bind("grit", crusher, &BitCrusherProcessor::setMix);
}

void buildTremolo(ChainProcessor &chain)
{
    auto *tremolo = chain.add<TremoloProcessor>();
    chain.bind("rate", tremolo, &TremoloProcessor::setRateHz);
    chain.bind("freq", tremolo, &TremoloProcessor::setRateHz);
    chain.bind("depth", tremolo, &TremoloProcessor::setDepth);
}

void buildVibrato(ChainProcessor &chain)
{
    auto *vibrato = chain.add<VibratoProcessor>();
    chain.bind("rate", vibrato, &VibratoProcessor::setRateHz);
    chain.bind("depth", vibrato, &VibratoProcessor::setDepth);
}

void buildFlanger(ChainProcessor &chain)
{
    auto *flanger = chain.add<FlangerProcessor>();
    chain.bind("speed", flanger, &FlangerProcessor::setSpeedHz);
    chain.bind("rate", flanger, &FlangerProcessor::setSpeedHz);
    chain.bind("delay", flanger, &FlangerProcessor::setDelayMs);
    chain.bind("depth", flanger, &FlangerProcessor::setDepthMs);
    chain.bind("regen", flanger, &FlangerProcessor::setRegenPercent);
    chain.bind("mix", flanger, &FlangerProcessor::setMixPercent);
    chain.bind("phase", flanger, &FlangerProcessor::setPhaseDegrees);
    chain.bind("invert", flanger, &FlangerProcessor::setInvert);
}

void bindCutoffs(ChainProcessor &chain, Filter *highPass, Filter *lowPass, const char *lowName,
                 const char *highName)
{
    chain.bind(lowName, highPass, &Filter::setFrequency);
    chain.bind(highName, lowPass, &Filter::setFrequency);
}

void buildBandlimit(ChainProcessor &chain)
{
    auto *highPass = chain.add<Filter>(Filter::highPass, 300.0f);
    auto *lowPass = chain.add<Filter>(Filter::lowPass, 3400.0f);
    bindCutoffs(chain, highPass, lowPass, "low_cut", "high_cut");
}

void buildWalkie(ChainProcessor &chain)
{
    auto *highPass = chain.add<Filter>(Filter::highPass, 400.0f);
    auto *lowPass = chain.add<Filter>(Filter::lowPass, 3000.0f);
    auto *crusher = chain.add<BitCrusherProcessor>(BitCrusherProcessor::linear, 6.0f);
    bindCutoffs(chain, highPass, lowPass, "low_cut", "high_cut");
    chain.bind("grit", crusher, &BitCrusherProcessor::setMix);
}

void buildMegaphone(ChainProcessor &chain)
{
    auto *bandPass = chain.add<Filter>(Filter::bandPass, 1500.0f);
    auto *crusher = chain.add<BitCrusherProcessor>(BitCrusherProcessor::linear, 8.0f);
    chain.bind("center", bandPass, &Filter::setFrequency);
    chain.bind("width", bandPass, &Filter::setWidth);
    chain.bind("grit", crusher, &BitCrusherProcessor::setMix);
}

void buildUnderwater(ChainProcessor &chain)
{
    auto *lowPass = chain.add<Filter>(Filter::lowPass, 500.0f);
    auto *chorus = chain.add<ChorusProcessor>(1.0f, 0.9f);
    chorus->setDelayMs(50.0f);
    chorus->setDecay(0.4f);
    chorus->setDepth(2.0f);
    chain.bind("cutoff", lowPass, &Filter::setFrequency);
    chain.bind("wet", chorus, &ChorusProcessor::setInGain);
    chain.bind("motion", chorus, &ChorusProcessor::setSpeedHz);
}

void buildMuffled(ChainProcessor &chain)
{
    auto *lowPass = chain.add<Filter>(Filter::lowPass, 800.0f);
    auto *gain = chain.add<GainProcessor>(1.0f);
    chain.bind("cutoff", lowPass, &Filter::setFrequency);
    chain.bind("gain", gain, &GainProcessor::setGain);
}

void bindCrusher(ChainProcessor &chain, BitCrusherProcessor *crusher)
{
    chain.bind("bits", crusher, &BitCrusherProcessor::setBits);
    chain.bind("samples", crusher, &BitCrusherProcessor::setHoldSamples);
    chain.bind("mix", crusher, &BitCrusherProcessor::setMix);
}

void buildBitcrush(ChainProcessor &chain)
{
    bindCrusher(chain, chain.add<BitCrusherProcessor>(BitCrusherProcessor::linear, 8.0f));
}

void buildBitcrushLog(ChainProcessor &chain)
{
    bindCrusher(chain, chain.add<BitCrusherProcessor>(BitCrusherProcessor::logarithmic, 8.0f));
}

void buildVinyl(ChainProcessor &chain)
{
    auto *highPass = chain.add<Filter>(Filter::highPass, 200.0f);
    auto *lowPass = chain.add<Filter>(Filter::lowPass, 6000.0f);
    auto *vibrato = chain.add<VibratoProcessor>();
    bindCutoffs(chain, highPass, lowPass, "highpass", "lowpass");
    chain.bind("wobble", vibrato, &VibratoProcessor::setRateHz);
    chain.bind("flutter", vibrato, &VibratoProcessor::setDepth);
}

void buildCrystalizer(ChainProcessor &chain)
{
    auto *crystalizer = chain.add<CrystalizerProcessor>();
    chain.bind("intensity", crystalizer, &CrystalizerProcessor::setIntensity);
    chain.bind("colors", crystalizer, &CrystalizerProcessor::setColors);
}

void buildEcho(ChainProcessor &chain)
{
    auto *echo = chain.add<EchoProcessor>();
    chain.bind("delay", echo, &EchoProcessor::setDelayMs);
    chain.bind("decay", echo, &EchoProcessor::setDecay);
    chain.bind("in_gain", echo, &EchoProcessor::setInGain);
    chain.bind("out_gain", echo, &EchoProcessor::setOutGain);
}

void buildChorus(ChainProcessor &chain)
{
    auto *chorus = chain.add<ChorusProcessor>();
    chain.bind("in_gain", chorus, &ChorusProcessor::setInGain);
    chain.bind("out_gain", chorus, &ChorusProcessor::setOutGain);
    chain.bind("delay", chorus, &ChorusProcessor::setDelayMs);
    chain.bind("decay", chorus, &ChorusProcessor::setDecay);
    chain.bind("speed", chorus, &ChorusProcessor::setSpeedHz);
    chain.bind("depth", chorus, &ChorusProcessor::setDepth);
}

void buildPhaser(ChainProcessor &chain)
{
    auto *phaser = chain.add<PhaserProcessor>();
    chain.bind("in_gain", phaser, &PhaserProcessor::setInGain);
    chain.bind("out_gain", phaser, &PhaserProcessor::setOutGain);
    chain.bind("delay", phaser, &PhaserProcessor::setDelay);
    chain.bind("decay", phaser, &PhaserProcessor::setDecay);
    chain.bind("speed", phaser, &PhaserProcessor::setSpeedHz);
}

void buildAutopan(ChainProcessor &chain)
{
    auto *pan = chain.add<AutoPanProcessor>();
    chain.bind("rate", pan, &AutoPanProcessor::setRateHz);
    chain.bind("amount", pan, &AutoPanProcessor::setAmount);
    chain.bind("level_in", pan, &AutoPanProcessor::setLevelIn);
    chain.bind("level_out", pan, &AutoPanProcessor::setLevelOut);
}

void buildStereoWiden(ChainProcessor &chain)
{
    auto *widen = chain.add<StereoWidenProcessor>();
    chain.bind("delay", widen, &StereoWidenProcessor::setDelayMs);
    chain.bind("feedback", widen, &StereoWidenProcessor::setFeedback);
    chain.bind("crossfeed", widen, &StereoWidenProcessor::setCrossfeed);
    chain.bind("drymix", widen, &StereoWidenProcessor::setDryMix);
}

const QHash<QString, ChainBuilder> &registry()
{
    static const QHash<QString, ChainBuilder> table{
        {QStringLiteral("eq3"), buildEq3},
        {QStringLiteral("compressor"), buildCompressor},
        {QStringLiteral("tape"), buildTape},
        {QStringLiteral("limiter"), buildLimiter},
        {QStringLiteral("gate"), buildGate},
        {QStringLiteral("deesser"), buildDeEsser},
        {QStringLiteral("leveler"), buildLeveler},
        {QStringLiteral("pitch"), buildPitch},
        {QStringLiteral("darklord"), buildDarklord},
        {QStringLiteral("tremolo"), buildTremolo},
        {QStringLiteral("vibrato"), buildVibrato},
        {QStringLiteral("flanger"), buildFlanger},
        {QStringLiteral("bandlimit"), buildBandlimit},
        {QStringLiteral("walkie"), buildWalkie},
        {QStringLiteral("megaphone"), buildMegaphone},
        {QStringLiteral("underwater"), buildUnderwater},
        {QStringLiteral("muffled"), buildMuffled},
        {QStringLiteral("bitcrush"), buildBitcrush},
        {QStringLiteral("bitcrush_log"), buildBitcrushLog},
        {QStringLiteral("vinyl"), buildVinyl},
        {QStringLiteral("crystalizer"), buildCrystalizer},
        {QStringLiteral("echo"), buildEcho},
        {QStringLiteral("chorus"), buildChorus},
        {QStringLiteral("phaser"), buildPhaser},
        {QStringLiteral("autopan"), buildAutopan},
        {QStringLiteral("stereowiden"), buildStereoWiden},
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
