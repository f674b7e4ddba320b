// Joins the pieces of a split render: video segments one after another and the soundtrack
// beside them, by stream copy, so the result is what a one-piece export would have written.
#include "output/ExportEncoder.h"
#include "output/ExportJob.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <QFile>

#include <algorithm>
#include <memory>
#include <vector>

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

// Reads the video of the segments as one stream, counted in frames: each segment's timestamps
// begin at zero and are moved behind the frames of the segments before it.
//
// Matroska keeps no decoding timestamps, and a muxer such as MP4's needs them for reordered
// (B) frames. They are rebuilt the way an encoder makes them: the sorted presentation times,
// moved back by the largest reordering found in any segment, so they rise across the joins.
class SegmentReader
{
public:
    SegmentReader(const QStringList &paths, const AVStream *output) : m_paths(paths), m_output(output) {}

    // Reads every segment once for its frame times; false with a message.
    bool scan(QString *error)
    {
        PacketPtr packet(av_packet_alloc());
        if (!packet) {
            *error = QStringLiteral("out of memory");
            return false;
        }
        for (qsizetype i = 0; i < m_paths.size(); ++i) {
            if (!openSegment(i, error))
                return false;
            std::vector<int64_t> pts;
            while (av_read_frame(m_input.get(), packet.get()) >= 0) {
                if (packet->stream_index == m_streamIndex)
                    pts.push_back(frameOf(packet->pts));
                av_packet_unref(packet.get());
            }
            std::vector<int64_t> sorted = pts;
            std::sort(sorted.begin(), sorted.end());
            for (size_t k = 0; k < pts.size(); ++k)
                m_reorderFrames = std::max(m_reorderFrames, sorted[k] - pts[k]);
            m_segments.push_back(std::move(sorted));
        }
        m_input.reset();
        m_current = -1;
        return true;
    }

    // One tick is one frame.
    AVRational frameTimeBase() const { return av_inv_q(m_frameRate); }

    // The next packet, timed in frames; false at the end or on an error.
    bool next(AVPacket *packet, QString *error)
    {
        for (;;) {
            if (!m_input) {
                if (m_current + 1 >= qsizetype(m_segments.size()) || !openSegment(m_current + 1, error))
                    return false;
                m_framesHere = 0;
            }
            if (av_read_frame(m_input.get(), packet) < 0) {
                m_framesBefore += int64_t(m_segments[size_t(m_current)].size());
                m_input.reset();
                continue;
            }
            if (packet->stream_index != m_streamIndex) {
                av_packet_unref(packet);
                continue;
            }
            const std::vector<int64_t> &sorted = m_segments[size_t(m_current)];
            const size_t k = size_t(std::min<int64_t>(m_framesHere++, int64_t(sorted.size()) - 1));
            packet->pts = frameOf(packet->pts) + m_framesBefore;
            packet->dts = sorted[k] + m_framesBefore - m_reorderFrames;
            packet->duration = 1; // without it MP4 gives the last frame no time, and players drop it
            packet->stream_index = m_output->index;
            return true;
        }
    }

private:
    bool openSegment(qsizetype index, QString *error)
    {
        m_current = index;
        m_input = openInput(m_paths[index], AVMEDIA_TYPE_VIDEO, &m_streamIndex, error);
        if (!m_input)
            return false;
        const AVStream *source = m_input->streams[m_streamIndex];
        const AVRational rate =
            source->avg_frame_rate.num > 0 ? source->avg_frame_rate : source->r_frame_rate;
        if (rate.num <= 0 || rate.den <= 0) {
            *error = QStringLiteral("%1 states no frame rate").arg(m_paths[index]);
            return false;
        }
        if (m_frameRate.num > 0 && av_cmp_q(rate, m_frameRate) != 0) {
            *error = QStringLiteral("%1 has another frame rate than the first segment").arg(m_paths[index]);
            return false;
        }
        m_frameRate = rate;
        m_sourceTimeBase = source->time_base;
        return true;
    }

    int64_t frameOf(int64_t pts) const
    {
        if (pts == AV_NOPTS_VALUE)
            return 0;
        return av_rescale_q_rnd(pts, m_sourceTimeBase, av_inv_q(m_frameRate), AV_ROUND_NEAR_INF);
    }

    QStringList m_paths;
    const AVStream *m_output = nullptr;
    std::vector<std::vector<int64_t>> m_segments; // sorted frame times of each segment
    int64_t m_reorderFrames = 0;
    qsizetype m_current = -1;
    InputPtr m_input;
    int m_streamIndex = -1;
    AVRational m_frameRate{0, 1};
    AVRational m_sourceTimeBase{1, 1};
    int64_t m_framesBefore = 0; // frames of the segments already read
    int64_t m_framesHere = 0;
};

// Reads the soundtrack file, timed in samples. With the tags of an Orvel soundtrack the times
// are counted from the packets' sizes, starting the priming before zero so the muxer trims it,
// and the last packet ends where the sound does, as in a one-piece export.
class SoundtrackReader
{
public:
    SoundtrackReader(AVFormatContext *input, int streamIndex) : m_input(input), m_streamIndex(streamIndex)
    {
        if (!input)
            return;
        const AVStream *stream = input->streams[streamIndex];
        m_timeBase = stream->time_base;
        m_sampleRate = stream->codecpar->sample_rate;
        const AVDictionaryEntry *delay =
            av_dict_get(stream->metadata, exportdetail::kEncoderDelayTag, nullptr, 0);
        const AVDictionaryEntry *count =
            av_dict_get(stream->metadata, exportdetail::kSampleCountTag, nullptr, 0);
        m_counted = delay && count && m_sampleRate > 0;
        if (m_counted) {
            m_position = -QByteArray(delay->value).toLongLong();
            m_end = QByteArray(count->value).toLongLong();
        }
    }

    AVRational timeBase() const { return m_counted ? AVRational{1, m_sampleRate} : m_timeBase; }

    bool next(AVPacket *packet)
    {
        while (m_input && av_read_frame(m_input, packet) >= 0) {
            if (packet->stream_index != m_streamIndex) {
                av_packet_unref(packet);
                continue;
            }
            if (m_counted)
                retime(packet);
            return true;
        }
        return false;
    }

private:
    void retime(AVPacket *packet)
    {
        const AVCodecParameters *par = m_input->streams[m_streamIndex]->codecpar;
        int64_t samples = av_get_audio_frame_duration2(const_cast<AVCodecParameters *>(par), packet->size);
        if (samples <= 0)
            samples = par->frame_size > 0
                          ? par->frame_size
                          : av_rescale_q(packet->duration, m_timeBase, AVRational{1, m_sampleRate});
        packet->pts = packet->dts = m_position;
        packet->duration = std::clamp<int64_t>(m_end - m_position, 0, samples);
        m_position += samples;
    }

    AVFormatContext *m_input = nullptr;
    int m_streamIndex = -1;
    AVRational m_timeBase{1, 1};
    int m_sampleRate = 0;
    bool m_counted = false;
    int64_t m_position = 0;
    int64_t m_end = 0;
};

// Copies everything, writing whichever pending packet comes first, so the muxer never holds
// one whole stream in memory waiting for the other.
bool copyPackets(SegmentReader &video, const AVStream *videoOut, AVFormatContext *audioInput, int audioIndex,
                 const AVStream *audioOut, JoinWriter &writer, QString *error)
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
    SoundtrackReader soundtrack(audioInput, audioIndex);
    const auto readAudio = [&]() {
        if (!soundtrack.next(audioPacket.get()))
            return false;
        av_packet_rescale_ts(audioPacket.get(), soundtrack.timeBase(), audioOut->time_base);
        audioPacket->stream_index = audioOut->index;
        return true;
    };
    bool haveAudio = readAudio();
    while (haveVideo || haveAudio) {
        bool videoFirst = haveVideo;
        if (haveVideo && haveAudio)
            videoFirst = av_compare_ts(videoPacket->dts, video.frameTimeBase(), audioPacket->dts,
                                       audioOut->time_base) <= 0;
        if (videoFirst) {
            av_packet_rescale_ts(videoPacket.get(), video.frameTimeBase(), videoOut->time_base);
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
             (!audio || (audioOut = writer.addStream(audio->streams[audioIndex], &message)) != nullptr);
        SegmentReader video(segmentPaths, videoOut);
        ok = ok && video.scan(&message);
        if (ok) {
            videoOut->time_base = video.frameTimeBase();
            ok = writer.start(partPath, &message) &&
                 copyPackets(video, videoOut, audio.get(), audioIndex, audioOut, writer, &message) &&
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
