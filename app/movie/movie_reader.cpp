#include "movie_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "errors.h"
#include "frame_converter.h"
#include "hosting/errors.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

namespace app {
namespace {

/// Containers of movies. Without this list a picture that is called .mp4 would be a movie, and a
/// text could name addresses to be fetched.
constexpr const char* kContainers =
    "mov,matroska,webm,avi,mpegts,mpeg,mpegvideo,gif,mxf,ogg,flv,asf";
/// Times are compared with this much slack: containers round them to milliseconds.
constexpr double kSlackSeconds = 0.00055;
/// Further ahead than that a seek costs less than decoding what lies between.
constexpr double kSeekSeconds = 2;
/// A movie that ends that much before its declared end breaks off.
constexpr double kMissingSeconds = 0.25;

std::string AvText(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(error, text, sizeof text);
  return text;
}

/// Frees what the library made, by its own function, which clears the pointer too.
template <auto kFree>
struct Freed {
  template <class T>
  void operator()(T* p) const {
    kFree(&p);
  }
};
using FramePtr = std::unique_ptr<AVFrame, Freed<av_frame_free>>;

std::optional<hosting::Rational> AsRational(AVRational r) {
  if (r.num <= 0 || r.den <= 0) return std::nullopt;
  return hosting::Rational(r.num, r.den);
}

/// What decodes the stream: for VP8 and VP9 with transparency only the libraries of the format keep
/// it.
const AVCodec* DecoderOf(const AVStream& stream) {
  const AVCodecID id = stream.codecpar->codec_id;
  const AVDictionaryEntry* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
  if (alpha != nullptr && std::string_view(alpha->value) == "1") {
    const char* name = id == AV_CODEC_ID_VP9 ? "libvpx-vp9" : id == AV_CODEC_ID_VP8 ? "libvpx" : "";
    if (const AVCodec* decoder = avcodec_find_decoder_by_name(name)) return decoder;
  }
  return avcodec_find_decoder(id);
}

int QuarterTurns(const AVStream& stream) {
  const auto* matrix = reinterpret_cast<const std::int32_t*>(
      av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  if (matrix == nullptr) return 0;
  const double counter_clockwise = av_display_rotation_get(matrix);
  if (!std::isfinite(counter_clockwise)) return 0;
  return static_cast<int>(std::lround(-counter_clockwise / 90) % 4 + 4) % 4;
}

/// "00:00:10.500000000", as Matroska has it; 0 for anything else.
double TaggedSeconds(const AVStream& stream) {
  const AVDictionaryEntry* tag = av_dict_get(stream.metadata, "DURATION", nullptr, 0);
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  if (tag == nullptr || std::sscanf(tag->value, "%d:%d:%lf", &hours, &minutes, &seconds) != 3) {
    return 0;
  }
  return hours * 3600 + minutes * 60 + seconds;
}

}  // namespace

class MovieReader::Impl {
 public:
  explicit Impl(const std::filesystem::path& path) : path_(path) {
    av_log_set_level(AV_LOG_QUIET);
    Open();
    facts_ = ReadFacts();
    converter_.emplace(facts_.width, facts_.height, stated_matrix_);
  }

  const MovieFacts& facts() const { return facts_; }

  std::shared_ptr<const hosting::Picture> At(double seconds) {
    const std::int64_t target = first_ + Ticks(std::max(0.0, seconds) + kSlackSeconds);
    if (!current_) Open();
    if (target < current_->pts || target > current_->pts + Ticks(kSeekSeconds)) Seek(target);
    while (next_ && next_->pts <= target) Advance();
    if (!next_) CheckEnd(seconds);
    if (!picture_ || picture_pts_ != current_->pts) {
      try {
        picture_ = std::make_shared<const hosting::Picture>(converter_->Convert(*current_));
      } catch (const hosting::Error& error) {
        Fail(error.what());
      }
      picture_pts_ = current_->pts;
    }
    return picture_;
  }

 private:
  [[noreturn]] void Fail(const std::string& why) const {
    throw FileError(fmt::format("cannot read the movie \"{}\": {}", path_.string(), why));
  }

  std::int64_t Ticks(double seconds) const {
    return static_cast<std::int64_t>(std::floor(seconds / av_q2d(stream_->time_base)));
  }
  double Seconds(std::int64_t pts) const {
    return static_cast<double>(pts - first_) * av_q2d(stream_->time_base);
  }

  /// From the beginning; afterwards the first frame is the current one.
  void Open() {
    codec_.reset();
    format_.reset();
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "format_whitelist", kContainers, 0);
    AVFormatContext* opened = nullptr;
    const int error =
        avformat_open_input(&opened, ("file:" + path_.string()).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (error < 0) Fail(AvText(error));
    format_.reset(opened);

    // The analysis that follows may forget what the container says.
    const int index = FindVideo();
    if (index >= 0) stated_matrix_ = opened->streams[index]->codecpar->color_space;
    if (const int code = avformat_find_stream_info(opened, nullptr); code < 0) Fail(AvText(code));
    const int video = index >= 0 ? index : FindVideo();
    if (video < 0) Fail("it has no moving picture");
    stream_ = opened->streams[video];
    for (unsigned i = 0; i < opened->nb_streams; ++i) {
      if (static_cast<int>(i) != video) opened->streams[i]->discard = AVDISCARD_ALL;
    }
    OpenDecoder();
    ended_ = damaged_ = false;
    frame_ticks_ = std::max<std::int64_t>(
        1,
        Ticks(1 / AsRational(stream_->avg_frame_rate).value_or(hosting::Rational(25, 1)).value()));
    current_ = Receive();
    if (!current_) Fail("it has no frame that can be decoded");
    tells_times_ = current_->pts != AV_NOPTS_VALUE;
    first_ =
        current_->best_effort_timestamp != AV_NOPTS_VALUE ? current_->best_effort_timestamp : 0;
    current_->pts = first_;
    next_ = Decode(current_->pts);
  }

  int FindVideo() const {
    const int index = av_find_best_stream(format_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const bool is_cover =
        index >= 0 && (format_->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    return is_cover ? -1 : index;
  }

  void OpenDecoder() {
    const AVCodec* decoder = DecoderOf(*stream_);
    if (decoder == nullptr) {
      Fail(
          fmt::format("there is no decoder for {}", avcodec_get_name(stream_->codecpar->codec_id)));
    }
    codec_.reset(avcodec_alloc_context3(decoder));
    if (!codec_) throw std::bad_alloc();
    int error = avcodec_parameters_to_context(codec_.get(), stream_->codecpar);
    codec_->pkt_timebase = stream_->time_base;
    codec_->thread_count = 1;  // there is a process for every core
    if (error >= 0) error = avcodec_open2(codec_.get(), decoder, nullptr);
    if (error < 0) Fail(AvText(error));
  }

  MovieFacts ReadFacts() {
    MovieFacts facts;
    facts.width = codec_->width;
    facts.height = codec_->height;
    for (const AVRational rate :
         {stream_->avg_frame_rate, av_guess_frame_rate(format_.get(), stream_, current_.get())}) {
      if (const auto known = AsRational(rate)) {
        facts.frame_rate = *known;
        break;
      }
      facts.frame_rate = hosting::Rational(25, 1);
    }
    facts.pixel_aspect =
        AsRational(av_guess_sample_aspect_ratio(format_.get(), stream_, current_.get()))
            .value_or(hosting::Rational());
    facts.quarter_turns = QuarterTurns(*stream_);
    facts.has_sound =
        av_find_best_stream(format_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0) >= 0;
    const double begin = format_->start_time == AV_NOPTS_VALUE
                             ? 0
                             : static_cast<double>(format_->start_time) / AV_TIME_BASE;
    facts.first_frame = static_cast<double>(first_) * av_q2d(stream_->time_base) - begin;
    facts.seconds = DeclaredSeconds(facts.first_frame);
    return facts;
  }

  /// From the first frame to where the container says that the video ends.
  double DeclaredSeconds(double first_frame) const {
    if (stream_->duration != AV_NOPTS_VALUE && stream_->duration > 0) {
      const std::int64_t start =
          stream_->start_time == AV_NOPTS_VALUE ? first_ : stream_->start_time;
      return Seconds(start + stream_->duration);
    }
    if (const double tagged = TaggedSeconds(*stream_); tagged > 0) return tagged - first_frame;
    if (format_->duration == AV_NOPTS_VALUE) return 0;
    return static_cast<double>(format_->duration) / AV_TIME_BASE - first_frame;
  }

  void Advance() {
    current_ = std::move(next_);
    next_ = Decode(current_->pts);
  }

  /// The next frame, with a time after `before`; null at the end.
  FramePtr Decode(std::int64_t before) {
    FramePtr frame = Receive();
    if (!frame) return nullptr;
    const std::int64_t told = frame->best_effort_timestamp;
    frame->pts = told != AV_NOPTS_VALUE && told > before ? told : before + frame_ticks_;
    return frame;
  }

  /// What the decoder gives next; null at the end.
  FramePtr Receive() {
    FramePtr frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    for (;;) {
      const int got = avcodec_receive_frame(codec_.get(), frame.get());
      if (got == 0) {
        if (frame->decode_error_flags == 0 || seeking_) return frame;
        damaged_ = true;
        return nullptr;
      }
      if (got == AVERROR_EOF || ended_) return nullptr;
      if (got != AVERROR(EAGAIN)) damaged_ = true;
      Feed();
    }
  }

  /// Gives the decoder one packet, or tells it that there are no more.
  void Feed() {
    const std::unique_ptr<AVPacket, Freed<av_packet_free>> packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    int read = 0;
    do {
      av_packet_unref(packet.get());
      read = damaged_ ? AVERROR_EOF : av_read_frame(format_.get(), packet.get());
    } while (read >= 0 && packet->stream_index != stream_->index);
    const int sent = avcodec_send_packet(codec_.get(), read < 0 ? nullptr : packet.get());
    if (read < 0) ended_ = sent < 0;
    // Of the frames before it some are still to come.
    if (read >= 0 && sent < 0 && !seeking_) damaged_ = true;
  }

  /// Whether the file goes on.
  bool IsMore() {
    const std::unique_ptr<AVPacket, Freed<av_packet_free>> packet(av_packet_alloc());
    return packet && av_read_frame(format_.get(), packet.get()) >= 0;
  }

  void CheckEnd(double seconds) {
    const double end = Seconds(current_->pts + std::max(current_->pkt_duration, frame_ticks_));
    if (seconds >= end && damaged_ && IsMore()) Fail(fmt::format("it is damaged at {:.2f} s", end));
    if (seconds >= end && end + kMissingSeconds < facts_.seconds) {
      Fail(fmt::format("it breaks off at {:.2f} s; it should be {:.2f} s long", end,
                       facts_.seconds));
    }
  }

  /// Makes the last frame that is not after `target`, or one before it, the current one.
  void Seek(std::int64_t target) {
    for (double back = 0;; back = std::max(1.0, 2 * back)) {
      const std::int64_t at = target - Ticks(back);
      if (at <= first_ || !SeekTo(at)) return Open();
      if (current_ && current_->pts <= target) break;
    }
    next_ = Decode(current_->pts);
  }

  /// The first key frame from there becomes the current one; false when this movie cannot seek.
  bool SeekTo(std::int64_t pts) {
    if (av_seek_frame(format_.get(), stream_->index, pts, AVSEEK_FLAG_BACKWARD) < 0) return false;
    avcodec_flush_buffers(codec_.get());
    ended_ = damaged_ = false;
    next_.reset();
    seeking_ = true;
    // A time that is only guessed may be that of another frame, just here.
    const auto is_sure = [this](const AVFrame& frame) {
      return frame.key_frame != 0 &&
             (tells_times_ ? frame.pts : frame.best_effort_timestamp) != AV_NOPTS_VALUE;
    };
    do {
      current_ = Receive();
    } while (current_ && !is_sure(*current_));
    seeking_ = false;
    if (current_) current_->pts = current_->best_effort_timestamp;
    return true;
  }

  std::filesystem::path path_;
  std::unique_ptr<AVFormatContext, Freed<avformat_close_input>> format_;
  std::unique_ptr<AVCodecContext, Freed<avcodec_free_context>> codec_;
  AVStream* stream_ = nullptr;
  AVColorSpace stated_matrix_ = AVCOL_SPC_UNSPECIFIED;
  MovieFacts facts_;
  std::optional<FrameConverter> converter_;
  std::int64_t first_ = 0;        // time of the first frame, in the stream's ticks
  std::int64_t frame_ticks_ = 1;  // of a frame that does not say how long it is
  bool tells_times_ = false;      // else there are only those of decoding
  bool ended_ = false;
  bool damaged_ = false;  // what follows cannot be decoded
  bool seeking_ = false;  // frames that lack what they refer to are passed over
  FramePtr current_;
  FramePtr next_;
  std::shared_ptr<const hosting::Picture> picture_;
  std::int64_t picture_pts_ = 0;
};

MovieReader::MovieReader(const std::filesystem::path& path) : impl_(std::make_unique<Impl>(path)) {}
MovieReader::~MovieReader() = default;

const MovieFacts& MovieReader::facts() const { return impl_->facts(); }

std::shared_ptr<const hosting::Picture> MovieReader::At(double seconds) {
  return impl_->At(seconds);
}

}  // namespace app
