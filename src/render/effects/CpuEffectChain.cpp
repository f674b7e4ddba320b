#include "render/effects/CpuEffectChain.h"

#include "catalog/EffectCatalog.h"
#include "render/effects/EffectPipelineRunner.h"
#include "render/effects/GpuEffectExecutor.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

#include <cstring>
#include <memory>

namespace orvel {

namespace cpuchaindetail {

struct GraphDeleter
{
    void operator()(AVFilterGraph *graph) const { avfilter_graph_free(&graph); }
};
struct FrameDeleter
{
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
struct InOutDeleter
{
    void operator()(AVFilterInOut *inout) const { avfilter_inout_free(&inout); }
};

bool buildGraph(AVFilterGraph *graph, QSize size, const QString &text, AVFilterContext **source,
                AVFilterContext **sink)
{
    const AVFilter *bufferFilter = avfilter_get_by_name("buffer");
    const AVFilter *sinkFilter = avfilter_get_by_name("buffersink");
    if (!bufferFilter || !sinkFilter)
        return false;
    const QByteArray args = QStringLiteral("video_size=%1x%2:pix_fmt=rgba:time_base=1/30:pixel_aspect=1/1")
                                .arg(size.width())
                                .arg(size.height())
                                .toLatin1();
    if (avfilter_graph_create_filter(source, bufferFilter, "in", args.constData(), nullptr, graph) < 0 ||
        avfilter_graph_create_filter(sink, sinkFilter, "out", nullptr, nullptr, graph) < 0)
        return false;
    // The description's open ends are named from its own point of view: its input is our source.
    std::unique_ptr<AVFilterInOut, InOutDeleter> outputs(avfilter_inout_alloc());
    std::unique_ptr<AVFilterInOut, InOutDeleter> inputs(avfilter_inout_alloc());
    if (!outputs || !inputs)
        return false;
    outputs->name = av_strdup("in");
    outputs->filter_ctx = *source;
    outputs->pad_idx = 0;
    outputs->next = nullptr;
    inputs->name = av_strdup("out");
    inputs->filter_ctx = *sink;
    inputs->pad_idx = 0;
    inputs->next = nullptr;
    AVFilterInOut *in = inputs.release();
    AVFilterInOut *out = outputs.release();
    const int parsed = avfilter_graph_parse_ptr(graph, text.toUtf8().constData(), &in, &out, nullptr);
    avfilter_inout_free(&in);
    avfilter_inout_free(&out);
    return parsed >= 0 && avfilter_graph_config(graph, nullptr) >= 0;
}

} // namespace cpuchaindetail

QImage runFilterGraph(const QImage &image, const QString &graph)
{
    using namespace cpuchaindetail;
    if (image.isNull() || graph.isEmpty())
        return image;
    std::unique_ptr<AVFilterGraph, GraphDeleter> filterGraph(avfilter_graph_alloc());
    AVFilterContext *source = nullptr;
    AVFilterContext *sink = nullptr;
    if (!filterGraph || !buildGraph(filterGraph.get(), image.size(), graph, &source, &sink))
        return image;
    const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888);
    std::unique_ptr<AVFrame, FrameDeleter> in(av_frame_alloc());
    if (!in)
        return image;
    in->format = AV_PIX_FMT_RGBA;
    in->width = rgba.width();
    in->height = rgba.height();
    if (av_frame_get_buffer(in.get(), 32) < 0)
        return image;
    for (int y = 0; y < rgba.height(); ++y)
        std::memcpy(in->data[0] + qsizetype(y) * in->linesize[0], rgba.constScanLine(y),
                    size_t(rgba.width()) * 4);
    in->pts = 0;
    if (av_buffersrc_add_frame_flags(source, in.get(), AV_BUFFERSRC_FLAG_KEEP_REF) < 0)
        return image;
    std::unique_ptr<AVFrame, FrameDeleter> out(av_frame_alloc());
    if (!out || av_buffersink_get_frame(sink, out.get()) < 0)
        return image;
    if (out->width < 1 || out->height < 1)
        return {};
    QImage result(out->width, out->height, QImage::Format_RGBA8888);
    for (int y = 0; y < out->height; ++y)
        std::memcpy(result.scanLine(y), out->data[0] + qsizetype(y) * out->linesize[0],
                    size_t(out->width) * 4);
    return result;
}

QImage applyEffectChain(const QImage &image, const QList<EffectInstance> &effects, TimeUs timeUs,
                        const QList<FaceDetection> &faces)
{
    EffectCatalog &catalog = EffectCatalog::instance();
    QImage current = image;
    QList<GpuEffectExecutor::ChainStep> gpuBatch;
    QStringList libavBatch;
    auto flushGpu = [&] {
        if (!gpuBatch.isEmpty())
            current = GpuEffectExecutor::instance().applyChain(current, gpuBatch, timeUs);
        gpuBatch.clear();
    };
    auto flushLibav = [&] {
        if (!libavBatch.isEmpty())
            current = runFilterGraph(current,
                                     QStringLiteral("[in] %1,format=rgba [out]").arg(libavBatch.join(',')));
        libavBatch.clear();
    };
    for (const EffectInstance &effect : effects) {
        const EffectDescriptor *descriptor =
            effect.catalogId.isEmpty() ? nullptr : catalog.find(effect.catalogId);
        if (descriptor && descriptor->id == QLatin1String("time_echo"))
            continue;
        if (!descriptor) {
            flushGpu();
            const QString text = EffectCatalog::filterString(effect, nullptr);
            if (!text.isEmpty())
                libavBatch.append(text);
            continue;
        }
        // Catalog packages of the other backends do not run on pictures: the compositor handles
        // its own, and libavfilter serves only effects named without a package.
        if (!descriptor->isGpu || !descriptor->pipeline.valid)
            continue;
        flushLibav();
        QVariantMap params = EffectCatalog::mergedParams(effect, *descriptor);
        if (descriptor->requiresFace)
            addFaceUniforms(params, faces);
        gpuBatch.append({descriptor->id, &descriptor->pipeline, params});
    }
    flushGpu();
    flushLibav();
    return current;
}

} // namespace orvel
