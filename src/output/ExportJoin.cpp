// Joins the pieces of a split render: video segments one after another and the soundtrack
// beside them, by stream copy, so the result is what a one-piece export would have written.
#include "output/ExportEncoder.h"
#include "output/ExportJob.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <QFile>

#include <memory>

namespace orvel {

namespace {

struct InputCloser
{
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};
using InputPtr = std::unique_ptr<AVFormatContext, InputCloser>;

struct PacketFree
{
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;

// An opened input and the index of its first stream of a kind; null with a message otherwise.
InputPtr openInput(const QString &path, AVMediaType type, int *streamIndex, QString *error)
{
    AVFormatContext *context = nullptr;
    if (avformat_open_input(&context, path.toUtf8().constData(), nullptr, nullptr) < 0) {
        *error = QStringLiteral("cannot open %1").arg(path);
        return {};
    }
    InputPtr input(context);
    if (avformat_find_stream_info(context, nullptr) < 0) {
        *error = QStringLiteral("cannot read the streams of %1").arg(path);
        return {};
    }
    *streamIndex = av_find_best_stream(context, type, -1, -1, nullptr, 0);
    if (*streamIndex < 0) {
        *error =
            QStringLiteral("%1 has no %2 stream")
                .arg(path, type == AVMEDIA_TYPE_VIDEO ? QStringLiteral("video") : QStringLiteral("audio"));
        return {};
    }
    return input;
}

// The muxer side of a join: the output file and where each input stream goes in it.
class JoinWriter
{
public:
    ~JoinWriter()
    {
        if (m_headerWritten && !m_trailerWritten)
            av_write_trailer(m_format);
        if (m_format && !(m_format->oformat->flags & AVFMT_NOFILE))
            avio_closep(&m_format->pb);
        avformat_free_context(m_format);
    }

    bool open(const QString &muxerPath, QString *error)
    {
        if (avformat_alloc_output_context2(&m_format, nullptr, nullptr, muxerPath.toUtf8().constData()) < 0 ||
            !m_format) {
            *error = QStringLiteral("cannot tell the container from %1").arg(muxerPath);
            return false;
        }
        return true;
    }

    AVStream *addStream(const AVStream *source, QString *error)
    {
        AVStream *stream = avformat_new_stream(m_format, nullptr);
        if (!stream || avcodec_parameters_copy(stream->codecpar, source->codecpar) < 0) {
            *error = QStringLiteral("cannot create an output stream");
            return nullptr;
        }
        // The tag belongs to the source container; the muxer picks its own.
        stream->codecpar->codec_tag = 0;
        stream->time_base = source->time_base;
        return stream;
    }

    bool start(const QString &filePath, QString *error)
    {
        if (!(m_format->oformat->flags & AVFMT_NOFILE) &&
            avio_open(&m_format->pb, filePath.toUtf8().constData(), AVIO_FLAG_WRITE) < 0) {
            *error = QStringLiteral("cannot open %1 for writing").arg(filePath);
            return false;
        }
        if (avformat_write_header(m_format, nullptr) < 0) {
            *error = QStringLiteral("cannot write the file header");
            return false;
        }
        m_headerWritten = true;
        return true;
    }

    bool write(AVPacket *packet, QString *error)
    {
        if (av_interleaved_write_frame(m_format, packet) < 0) {
            *error = QStringLiteral("cannot write a packet");
            return false;
        }
        return true;
    }

    bool finish(QString *error)
    {
        m_trailerWritten = true;
        if (av_write_trailer(m_format) < 0 ||
            (!(m_format->oformat->flags & AVFMT_NOFILE) && avio_closep(&m_format->pb) < 0)) {
            *error = QStringLiteral("cannot finish the file");
            return false;
        }
        return true;
    }

private:
    AVFormatContext *m_format = nullptr;
    bool m_headerWritten = false;
    bool m_trailerWritten = false;
};

// Reads the video of the segments as one stream: each segment's timestamps begin at zero and
// are moved behind the frames of the segments before it.
class SegmentReader
{
public:
    SegmentReader(const QStringList &paths, AVStream *output) : m_paths(paths), m_output(output) {}

    // The next packet in the output stream's time base; false at the end or on an error.
    bool next(AVPacket *packet, QString *error)
    {
        for (;;) {
            if (!m_input && !openNext(error))
                return false;
            if (av_read_frame(m_input.get(), packet) < 0) {
                m_framesBefore += m_framesHere;
                m_input.reset();
                continue;
            }
            if (packet->stream_index != m_streamIndex) {
                av_packet_unref(packet);
                continue;
            }
            ++m_framesHere;
            const AVStream *source = m_input->streams[m_streamIndex];
            av_packet_rescale_ts(packet, source->time_base, m_output->time_base);
            const int64_t offset = av_rescale_q(m_framesBefore, av_inv_q(m_frameRate), m_output->time_base);
            if (packet->pts != AV_NOPTS_VALUE)
                packet->pts += offset;
            if (packet->dts != AV_NOPTS_VALUE)
                packet->dts += offset;
            packet->stream_index = m_output->index;
            return true;
        }
    }

    const AVStream *output() const { return m_output; }

private:
    bool openNext(QString *error)
    {
        if (m_nextPath >= m_paths.size())
            return false;
        m_input = openInput(m_paths[m_nextPath++], AVMEDIA_TYPE_VIDEO, &m_streamIndex, error);
        if (!m_input)
            return false;
        const AVStream *source = m_input->streams[m_streamIndex];
        m_frameRate = source->avg_frame_rate.num > 0 ? source->avg_frame_rate : source->r_frame_rate;
        if (m_frameRate.num <= 0 || m_frameRate.den <= 0) {
            *error = QStringLiteral("%1 states no frame rate").arg(m_paths[m_nextPath - 1]);
            m_input.reset();
            return false;
        }
        m_framesHere = 0;
        return true;
    }

    QStringList m_paths;
    AVStream *m_output = nullptr;
    qsizetype m_nextPath = 0;
    InputPtr m_input;
    int m_streamIndex = -1;
    AVRational m_frameRate{0, 1};
    int64_t m_framesBefore = 0; // frames of the segments already read
    int64_t m_framesHere = 0;
};

// Copies everything, writing whichever pending packet comes first, so the muxer never holds
// one whole stream in memory waiting for the other.
bool copyPackets(SegmentReader &video, AVFormatContext *audioInput, int audioIndex, AVStream *audioOut,
                 JoinWriter &writer, QString *error)
{
    PacketPtr videoPacket(av_packet_alloc());
    PacketPtr audioPacket(av_packet_alloc());
    if (!videoPacket || !audioPacket) {
        *error = QStringLiteral("out of memory");
        return false;
    }
    bool haveVideo = video.next(videoPacket.get(), error);
    if (!haveVideo && !error->isEmpty())
        return false;
    const auto readAudio = [&]() {
        while (audioInput && av_read_frame(audioInput, audioPacket.get()) >= 0) {
            if (audioPacket->stream_index == audioIndex) {
                av_packet_rescale_ts(audioPacket.get(), audioInput->streams[audioIndex]->time_base,
                                     audioOut->time_base);
                audioPacket->stream_index = audioOut->index;
                return true;
            }
            av_packet_unref(audioPacket.get());
        }
        return false;
    };
    bool haveAudio = readAudio();
    while (haveVideo || haveAudio) {
        bool videoFirst = haveVideo;
        if (haveVideo && haveAudio)
            videoFirst = av_compare_ts(videoPacket->dts, video.output()->time_base, audioPacket->dts,
                                       audioOut->time_base) <= 0;
        if (videoFirst) {
            if (!writer.write(videoPacket.get(), error))
                return false;
            haveVideo = video.next(videoPacket.get(), error);
            if (!haveVideo && !error->isEmpty())
                return false;
        } else {
            if (!writer.write(audioPacket.get(), error))
                return false;
            haveAudio = readAudio();
        }
    }
    return true;
}

} // namespace

bool joinExportParts(const QStringList &segmentPaths, const QString &audioPath, const QString &outputPath,
                     QString *error)
{
    QString message;
    const auto failWith = [error](const QString &text) {
        if (error)
            *error = text;
        return false;
    };
    if (segmentPaths.isEmpty())
        return failWith(QStringLiteral("no segments to join"));
    int firstIndex = -1;
    const InputPtr first = openInput(segmentPaths.first(), AVMEDIA_TYPE_VIDEO, &firstIndex, &message);
    if (!first)
        return failWith(message);
    int audioIndex = -1;
    InputPtr audio;
    if (!audioPath.isEmpty()) {
        audio = openInput(audioPath, AVMEDIA_TYPE_AUDIO, &audioIndex, &message);
        if (!audio)
            return failWith(message);
    }

    const QString partPath = outputPath + QStringLiteral(".part");
    QFile::remove(partPath);
    bool ok = false;
    {
        JoinWriter writer;
        AVStream *videoOut = nullptr;
        AVStream *audioOut = nullptr;
        ok = writer.open(outputPath, &message) &&
             (videoOut = writer.addStream(first->streams[firstIndex], &message)) != nullptr &&
             (!audio || (audioOut = writer.addStream(audio->streams[audioIndex], &message)) != nullptr) &&
             writer.start(partPath, &message);
        if (ok) {
            SegmentReader video(segmentPaths, videoOut);
            ok = copyPackets(video, audio.get(), audioIndex, audioOut, writer, &message) &&
                 writer.finish(&message);
        }
    } // the writer closes the ".part" file here
    if (!ok) {
        QFile::remove(partPath);
        return failWith(message);
    }
    const ExportResult published = exportdetail::publish(partPath, outputPath);
    return published.success || failWith(published.message);
}

} // namespace orvel
