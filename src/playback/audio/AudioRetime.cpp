#include "playback/audio/AudioRetime.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvel {

// Named rather than anonymous, since the kept stream's graph derives from it.
namespace retime_detail {

// The graph and its two ends, freed together whatever happened.
struct RetimeGraph
{
    AVFilterGraph *graph = avfilter_graph_alloc();
    AVFilterContext *source = nullptr;
    AVFilterContext *sink = nullptr;
    ~RetimeGraph() { avfilter_graph_free(&graph); }
};

} // namespace retime_detail

namespace {

using retime_detail::RetimeGraph;

bool buildRetimeGraph(RetimeGraph &g, int sampleRate, double speed)
{
    // Finding a filter by name walks the whole filter list; the answers never change.
    static const AVFilter *const bufferSource = avfilter_get_by_name("abuffer");
    static const AVFilter *const bufferSink = avfilter_get_by_name("abuffersink");
    if (!g.graph)
        return false;
    const QByteArray args =
        QStringLiteral("time_base=1/%1:sample_rate=%1:sample_fmt=flt:channel_layout=stereo")
            .arg(sampleRate)
            .toUtf8();
    if (avfilter_graph_create_filter(&g.source, bufferSource, "in", args.constData(), nullptr, g.graph) < 0)
        return false;
    // The sink is told to give packed float, so frames come out in the block format.
    g.sink = avfilter_graph_alloc_filter(g.graph, bufferSink, "out");
    const AVSampleFormat formats[] = {AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_NONE};
    if (!g.sink ||
        av_opt_set_int_list(g.sink, "sample_fmts", formats, AV_SAMPLE_FMT_NONE, AV_OPT_SEARCH_CHILDREN) < 0 ||
        avfilter_init_str(g.sink, nullptr) < 0)
        return false;

    AVFilterInOut *outputs = avfilter_inout_alloc();
    AVFilterInOut *inputs = avfilter_inout_alloc();
    bool ok = outputs && inputs;
    if (ok) {
        outputs->name = av_strdup("in");
        outputs->filter_ctx = g.source;
        inputs->name = av_strdup("out");
        inputs->filter_ctx = g.sink;
        const QByteArray text = QStringLiteral("[in] %1 [out]").arg(atempoChain(speed)).toUtf8();
        ok = avfilter_graph_parse_ptr(g.graph, text.constData(), &inputs, &outputs, nullptr) >= 0 &&
             avfilter_graph_config(g.graph, nullptr) >= 0;
    }
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    return ok;
}

bool submitBlock(RetimeGraph &g, const float *samples, int frameCount, int sampleRate)
{
    AVFrame *frame = av_frame_alloc();
    if (!frame)
        return false;
    frame->format = AV_SAMPLE_FMT_FLT;
    frame->sample_rate = sampleRate;
    av_channel_layout_default(&frame->ch_layout, 2);
    frame->nb_samples = frameCount;
    frame->pts = 0;
    bool ok = av_frame_get_buffer(frame, 0) >= 0;
    if (ok) {
        std::memcpy(frame->data[0], samples, std::size_t(frameCount) * 2 * sizeof(float));
        ok = av_buffersrc_add_frame_flags(g.source, frame, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0;
    }
    // atempo hands over a frame only when its output buffer is full or the stream ends, so
    // without the end marker a single block would come out as nothing at all. Marking the end
    // flushes what the filter holds; the graph is thrown away after this block anyway.
    ok = ok && av_buffersrc_add_frame_flags(g.source, nullptr, 0) >= 0;
    av_frame_free(&frame);
    return ok;
}

// Copies one output frame's samples into out from frame index written; returns frames copied.
int copyFiltered(const AVFrame *frame, float *out, int written, int outFrames)
{
    const int channels = frame->ch_layout.nb_channels;
    const int count = std::min(frame->nb_samples, outFrames - written);
    if (channels < 1 || count < 1)
        return 0;
    const auto *in = reinterpret_cast<const float *>(frame->data[0]);
    for (int i = 0; i < count; ++i) {
        const float left = in[std::size_t(i) * std::size_t(channels)];
        const float right = channels > 1 ? in[std::size_t(i) * std::size_t(channels) + 1] : left;
        out[2 * std::size_t(written + i)] = left;
        out[2 * std::size_t(written + i) + 1] = right;
    }
    return count;
}

} // namespace

bool isUnitySpeed(double speed)
{
    return std::fabs(speed - 1.0) * 1e12 <= std::min(std::fabs(speed), 1.0);
}

QString atempoChain(double speed)
{
    double remainder = speed <= 0.0 ? 1.0 : speed;
    QStringList stages;
    while (remainder > 2.000001) {
        stages << QStringLiteral("atempo=2.0");
        remainder /= 2.0;
    }
    while (remainder < 0.499999) {
        stages << QStringLiteral("atempo=0.5");
        remainder *= 2.0;
    }
    stages << QStringLiteral("atempo=%1").arg(remainder, 0, 'f', 4);
    return stages.join(QLatin1Char(','));
}

QList<float> retimeAudio(const QList<float> &samples, int frameCount, int sampleRate, double speed,
                         int outFrames)
{
    if (isUnitySpeed(speed)) {
        QList<float> out(2 * std::max(outFrames, 0), 0.0f);
        const int copy = std::min({frameCount, outFrames, int(samples.size() / 2)});
        std::copy_n(samples.constData(), 2 * std::max(copy, 0), out.data());
        return out;
    }
    if (samples.isEmpty() || frameCount < 1 || outFrames < 1 || sampleRate < 1 ||
        samples.size() < 2 * qsizetype(frameCount))
        return {};
    QList<float> out(2 * outFrames, 0.0f);
    RetimeGraph g;
    if (!buildRetimeGraph(g, sampleRate, speed) ||
        !submitBlock(g, samples.constData(), frameCount, sampleRate))
        return out;
    AVFrame *filtered = av_frame_alloc();
    int written = 0;
    while (filtered && written < outFrames) {
        if (av_buffersink_get_frame(g.sink, filtered) < 0)
            break;
        written += copyFiltered(filtered, out.data(), written, outFrames);
        av_frame_unref(filtered);
    }
    av_frame_free(&filtered);
    return out;
}

struct AudioRetimeStream::Graph : retime_detail::RetimeGraph
{};

AudioRetimeStream::AudioRetimeStream() = default;
AudioRetimeStream::~AudioRetimeStream() = default;

bool AudioRetimeStream::open(int sampleRate, double speed)
{
    m_graph.reset();
    m_queue.clear();
    m_queueRead = 0;
    m_framesPushed = 0;
    m_speed = speed;
    m_sampleRate = sampleRate;
    if (sampleRate < 1)
        return false;
    auto graph = std::make_unique<Graph>();
    if (!buildRetimeGraph(*graph, sampleRate, speed))
        return false;
    m_graph = std::move(graph);
    return true;
}

bool AudioRetimeStream::isOpen() const
{
    return m_graph != nullptr;
}

bool AudioRetimeStream::push(const float *samples, int frameCount)
{
    if (!m_graph || !samples || frameCount < 1)
        return false;
    AVFrame *frame = av_frame_alloc();
    if (!frame)
        return false;
    frame->format = AV_SAMPLE_FMT_FLT;
    frame->sample_rate = m_sampleRate;
    av_channel_layout_default(&frame->ch_layout, 2);
    frame->nb_samples = frameCount;
    // Timestamps keep counting so the filter sees one unbroken stream.
    frame->pts = m_framesPushed;
    bool ok = av_frame_get_buffer(frame, 0) >= 0;
    if (ok) {
        std::memcpy(frame->data[0], samples, std::size_t(frameCount) * 2 * sizeof(float));
        ok = av_buffersrc_add_frame_flags(m_graph->source, frame, 0) >= 0;
    }
    av_frame_free(&frame);
    if (ok) {
        m_framesPushed += frameCount;
        drainSink();
    }
    return ok;
}

bool AudioRetimeStream::finish()
{
    if (!m_graph || av_buffersrc_add_frame_flags(m_graph->source, nullptr, 0) < 0)
        return false;
    drainSink();
    return true;
}

void AudioRetimeStream::drainSink()
{
    AVFrame *filtered = av_frame_alloc();
    while (filtered && av_buffersink_get_frame(m_graph->sink, filtered) >= 0) {
        const int frames = filtered->nb_samples;
        const std::size_t at = m_queue.size();
        m_queue.resize(at + std::size_t(std::max(frames, 0)) * 2);
        copyFiltered(filtered, m_queue.data() + at, 0, frames);
        av_frame_unref(filtered);
    }
    av_frame_free(&filtered);
}

int AudioRetimeStream::queuedFrames() const
{
    return int((m_queue.size() - m_queueRead) / 2);
}

int AudioRetimeStream::take(float *out, int frameCount)
{
    const int count = std::min(std::max(frameCount, 0), queuedFrames());
    std::copy_n(m_queue.data() + m_queueRead, std::size_t(count) * 2, out);
    m_queueRead += std::size_t(count) * 2;
    // Compact once the consumed part outgrows the rest, so the queue stays small.
    if (m_queueRead > m_queue.size() / 2) {
        m_queue.erase(m_queue.begin(), m_queue.begin() + std::ptrdiff_t(m_queueRead));
        m_queueRead = 0;
    }
    return count;
}

} // namespace orvel
