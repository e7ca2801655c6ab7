#include "render_plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "errors.h"
#include "files.h"
#include "hosting/area_sampler.h"
#include "layer_source.h"
#include "output_file.h"

namespace app {
namespace {

/// "left,top,width,height" as a rectangle.
std::optional<PF_LRect> ParseRegion(const std::string& text) {
  if (text.empty()) return std::nullopt;
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int read = 0;
  const int found =
      std::sscanf(text.c_str(), "%7d,%7d,%7d,%7d%n", &left, &top, &width, &height, &read);
  if (found != 4 || static_cast<std::size_t>(read) != text.size() || width < 1 || height < 1) {
    throw InputError(fmt::format(
        "region: expected left,top,width,height in pixels, as 100,50,640,360, found \"{}\"", text));
  }
  return PF_LRect{left, top, left + width, top + height};
}

std::optional<MovieFormat> MovieFor(const RenderArguments& arguments) {
  auto movie =
      MovieFormatFor(arguments.shots.output, arguments.depth, arguments.codec, arguments.quality);
  if (!movie && !arguments.codec.empty()) {
    throw InputError("--codec is for movies: .mp4, .mov, .mkv, .webm, .gif or .apng");
  }
  const std::pair<bool, const char*> for_pictures[] = {
      {!arguments.shots.chunk.empty(), "--chunk"}, {arguments.skip_existing, "--skip-existing"},
      {arguments.keep_going, "--keep-going"},      {!arguments.alpha.empty(), "--alpha"},
      {arguments.small_files, "--compression"},    {arguments.field, "--pass field"}};
  for (const auto& [given, option] : for_pictures) {
    if (movie && given) throw InputError(fmt::format("{} is for pictures, not movies", option));
  }
  return movie;
}

std::optional<PictureFormat> FormatFor(const RenderArguments& arguments, bool movie) {
  if (movie) return std::nullopt;
  PictureFormat format(arguments.shots.output, arguments.depth);
  if (!arguments.alpha.empty()) {
    if (!format.has_alpha()) throw InputError("--alpha: a JPEG has no alpha");
    format.premultiplied = arguments.alpha == "premultiplied";
  }
  format.small = arguments.small_files;
  if (arguments.field) {
    if (format.kind != PictureFormat::Kind::kExr) {
      throw InputError(fmt::format("\"{}\": the field is written as .exr only",
                                   arguments.shots.output.string()));
    }
    format.depth = hosting::Depth::k32;
    format.one_channel = true;
    if (arguments.supersample != 1)
      throw InputError("--supersample is for pictures, not the field");
  }
  return format;
}

}  // namespace

RenderPlan::RenderPlan(const RenderArguments& arguments)
    : arguments_(arguments),
      effect_file_(FindEffect(arguments.effect)),
      effect_(effect_file_),
      opened_(OpenScene(arguments.scene, arguments.changes, effect_)),
      region_(ParseRegion(arguments.region)),
      movie_(MovieFor(arguments)),
      format_(FormatFor(arguments, movie_.has_value())),
      shots_(ChooseShots(arguments.shots, movie_.has_value(), scene_.frames, FirstNumber(),
                         scene_.setup.time)),
      backdrop_(arguments.over.empty() && !HasAlpha() ? "layer" : arguments.over) {
  backdrop_.CheckSize(scene_.setup.width, scene_.setup.height);
  if (!arguments.keep_going) scene_.CheckLayer();
  TakeNotes();
  AddCommonFingerprint();
  if (arguments.skip_existing) {
    LeaveOutWhatIsUpToDate();
  } else {
    CheckOverwriting(shots_, arguments.overwrite);
  }
  NotedSignals::Check();
  if (shots_.empty()) return;
  ClearLeftovers(shots_.front().file.parent_path());
  // Made and removed again: the folder can be written into.
  OutputFile(shots_.front().file);
}

void RenderPlan::TakeNotes() {
  const A_long end = scene_.setup.time.FrameTime(scene_.frames);
  const auto past = std::count_if(shots_.begin(), shots_.end(),
                                  [&](const Shot& shot) { return shot.time >= end; });
  if (past > 0) {
    opened_.notes.push_back(
        fmt::format("{} of {} frames come after the scene's end; its last is {}", past,
                    shots_.size(), FirstNumber() + scene_.frames - 1));
  }
  const PF_LRect all{0, 0, hosting::ReducedSize(scene_.setup.width, arguments_.downsample),
                     hosting::ReducedSize(scene_.setup.height, arguments_.downsample)};
  if (region_ && (region_->left < all.left || region_->top < all.top ||
                  region_->right > all.right || region_->bottom > all.bottom)) {
    opened_.notes.push_back(
        fmt::format("the region is not all inside the picture of {} x {}", all.right, all.bottom));
  }
}

void RenderPlan::LeaveOutWhatIsUpToDate() {
  const auto stale = std::stable_partition(shots_.begin(), shots_.end(), [this](const Shot& shot) {
    NotedSignals::Check();
    return SoftwareOf(shot.file) != Software(shot);
  });
  skipped_.assign(stale, shots_.end());
  shots_.erase(stale, shots_.end());
}

void RenderPlan::AddCommonFingerprint() {
  common_.Add(VORLIN_VERSION);
  common_.AddFile(effect_file_);
  common_.Add(opened_.text);
  if (scene_.layer.frames == 0) common_.AddFile(scene_.layer.file(0));
  const SceneChanges& changes = arguments_.changes;
  common_.Add(changes.preset.empty() ? "" : "preset");
  if (!changes.preset.empty()) common_.AddFile(changes.preset);
  for (const std::string& setting : changes.settings) common_.Add(setting);
  common_.Add(fmt::format("{} {} {} {} {} {} {} {}", static_cast<int>(arguments_.depth),
                          arguments_.alpha, arguments_.over, arguments_.region,
                          arguments_.downsample.Text(), arguments_.classic,
                          arguments_.fine_sampling, arguments_.field));
  common_.Add(std::to_string(arguments_.supersample));
  std::error_code ignored;
  if (std::filesystem::is_regular_file(arguments_.over, ignored)) common_.AddFile(arguments_.over);
}

std::optional<MovieSound> RenderPlan::Sound() const {
  const auto& layer = scene_.layer.movie;
  if (!arguments_.sound || !layer || !layer->has_sound || movie_->sound.empty()) return {};
  // Frames that are left out would leave the sound behind.
  for (std::size_t i = 1; i < shots_.size(); ++i) {
    if (shots_[i].number != shots_[i - 1].number + 1) return {};
  }
  const hosting::Setup& setup = scene_.setup;
  const hosting::Span& there = setup.composition.EffectLayer().span;
  const double start = setup.time.Seconds(shots_.front().time);
  const double end = start + static_cast<double>(shots_.size()) / setup.time.frame_rate().value();
  const double layer_start = setup.time.Seconds(setup.layer_start);
  const double begin = std::max({start, layer_start, there.in});
  const double seconds = std::min(end, there.out) - begin;
  if (!(seconds > 0)) return {};
  return MovieSound{layer->file, layer->first_frame + begin - layer_start, seconds, begin - start};
}

hosting::RenderOptions RenderPlan::Options() const {
  hosting::RenderOptions options;
  options.depth = arguments_.depth;
  options.smart = !arguments_.classic;
  options.high_quality = arguments_.fine_sampling;
  options.region = region_;
  options.downsample_x = options.downsample_y = arguments_.downsample;
  options.keep_worlds = arguments_.field;
  return options;
}

bool RenderPlan::HasAlpha() const { return movie_ ? movie_->has_alpha : format_->has_alpha(); }

int RenderPlan::FirstNumber() const {
  return arguments_.shots.first_number.value_or(scene_.layer.first_number);
}

int RenderPlan::width() const {
  return region_ ? region_->right - region_->left
                 : hosting::ReducedSize(scene_.setup.width, arguments_.downsample);
}

int RenderPlan::height() const {
  return region_ ? region_->bottom - region_->top
                 : hosting::ReducedSize(scene_.setup.height, arguments_.downsample);
}

std::uint64_t RenderPlan::BytesAWorker() const {
  // Input, output, scratch world and a frame that waits to be written; the sampling table; two
  // pictures of the layer.
  constexpr std::uint64_t kRest = std::uint64_t{64} << 20;
  const hosting::Setup& setup = scene_.setup;
  const auto pixels = static_cast<std::uint64_t>(setup.width) *
                      static_cast<std::uint64_t>(setup.height) *
                      static_cast<std::uint64_t>(arguments_.supersample * arguments_.supersample);
  return pixels * 6 * hosting::PixelSize(arguments_.depth) +
         hosting::AreaSampler::TableBytes(setup.width, setup.height, arguments_.depth) + kRest;
}

std::shared_ptr<const hosting::Picture> RenderPlan::Layer(const Shot& shot) const {
  const auto frame = scene_.setup.LayerFrame(shot.time);
  return frame ? scene_.setup.picture(*frame) : nullptr;
}

std::string RenderPlan::Software(const Shot& shot) const {
  Fingerprint fingerprint = common_;
  fingerprint.Add(std::to_string(shot.time));
  const auto frame = scene_.setup.LayerFrame(shot.time);
  if (frame && scene_.layer.frames > 0) {
    // Where a picture is missing, the one before it stays.
    std::int64_t at = std::min(*frame, scene_.layer.frames - 1);
    while (at > 0 && !std::filesystem::exists(scene_.layer.file(at))) --at;
    fingerprint.Add(std::to_string(at));
    if (std::filesystem::exists(scene_.layer.file(at))) {
      fingerprint.AddFile(scene_.layer.file(at));
    }
  }
  return fmt::format("vorlin {}, fingerprint {}", VORLIN_VERSION, fingerprint.Text());
}

}  // namespace app
