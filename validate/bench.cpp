#include "bench.h"

#include <cstdint>
#include <utility>

#include "hosting/errors.h"

namespace validate {

Bench::Bench(const std::filesystem::path& plugin, const Config& config)
    : config_(config), plugin_(plugin), interposer_(plugin_.entry()), effect_(Interposer::Entry) {
  Use(StrokeSetup(effect_, config), Options());
}

hosting::RenderOptions Bench::Options() {
  hosting::RenderOptions options;
  options.depth = config_.depth;
  options.smart = config_.smart;
  options.threads = 1;
  options.layout.guards = true;
  options.observer = [this](const hosting::Call& call) {
    return observer ? observer(call) : PF_Err_NONE;
  };
  options.progress = [this](A_long current, A_long total) {
    return !progress || progress(current, total);
  };
  return options;
}

void Bench::Use(hosting::Setup setup, hosting::RenderOptions options) {
  interposer_.depth = options.depth;
  renderer_.emplace(effect_, std::move(setup), std::move(options));
}

Outcome Bench::RenderAt(int frame) {
  return Run([&] { renderer_->Render(setup().time.FrameTime(frame)); });
}

Outcome Bench::Run(const std::function<void()>& command) const {
  Outcome outcome;
  try {
    command();
  } catch (const hosting::EffectError& error) {
    outcome.code = error.code();
  } catch (const hosting::Error& error) {
    outcome.code = seen().result;
    outcome.breach = error.what();
  }
  if (outcome.breach.empty()) outcome.breach = seen().breach;
  return outcome;
}

std::string Digest(const std::string& bytes) {
  // FNV-1a.
  std::uint64_t hash = 14695981039346656037u;
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  return std::to_string(bytes.size()) + " bytes, " + std::to_string(hash);
}

}  // namespace validate
