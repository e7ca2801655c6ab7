#include "ledger.h"

#include <algorithm>
#include <utility>

namespace hosting {
namespace {

std::string SuiteText(std::string_view suite, int version) {
  return std::string("\"").append(suite).append("\" version ") + std::to_string(version);
}

std::string SizeText(int width, int height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

}  // namespace

void Ledger::Acquire(std::string_view suite, int version) {
  acquisitions_.push_back({std::string(suite), version});
}

void Ledger::Release(std::string_view suite, int version) {
  const auto at =
      std::find_if(acquisitions_.begin(), acquisitions_.end(),
                   [&](const Acquisition& a) { return a.suite == suite && a.version == version; });
  if (at == acquisitions_.end()) {
    return Note("ReleaseSuite of " + SuiteText(suite, version) + ", which is not acquired");
  }
  acquisitions_.erase(at);
}

const Ledger::CheckOut* Ledger::Find(const PF_ParamDef* record) const {
  const auto at = std::find_if(check_outs_.rbegin(), check_outs_.rend(),
                               [&](const CheckOut& c) { return c.record == record; });
  return at == check_outs_.rend() ? nullptr : &*at;
}

void Ledger::CheckIn(const PF_ParamDef* record) {
  const CheckOut* const found = Find(record);
  if (found == nullptr) return Note("checkin_param of a record that nothing is checked out into");
  check_outs_.erase(check_outs_.begin() + (found - check_outs_.data()));
}

World& Ledger::Add(World world) { return worlds_.emplace_back(std::move(world)); }

std::optional<World> Ledger::Dispose(const PF_EffectWorld& world) {
  const auto at = std::find_if(worlds_.begin(), worlds_.end(),
                               [&](const World& w) { return w.record().data == world.data; });
  if (at == worlds_.end()) {
    Note("dispose of a world of " + SizeText(world.width, world.height) +
         " that the effect does not hold");
    return std::nullopt;
  }
  if (const std::string damage = at->GuardDamage(); !damage.empty()) {
    Note("the effect wrote outside its own world of " + SizeText(at->width(), at->height()) + ": " +
         damage);
  }
  World given_back = std::move(*at);
  worlds_.erase(at);
  return given_back;
}

void Ledger::Note(const std::string& breach) {
  if (breach_.empty()) breach_ = breach;
}

std::string Ledger::Verdict() const {
  if (!breach_.empty()) return breach_;
  if (!acquisitions_.empty()) {
    const Acquisition& a = acquisitions_.front();
    return "no ReleaseSuite for AcquireSuite of " + SuiteText(a.suite, a.version);
  }
  if (!check_outs_.empty()) {
    return "no checkin_param for checkout_param of control " +
           std::to_string(check_outs_.front().index);
  }
  if (!worlds_.empty()) {
    const World& world = worlds_.front();
    return "no disposal of a new world of " + SizeText(world.width(), world.height());
  }
  return {};
}

}  // namespace hosting
