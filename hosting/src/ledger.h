// What the effect has been lent during one command and has not yet given back.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/world.h"
#include "pf_params.h"

namespace hosting {

class Ledger {
 public:
  struct CheckOut {
    const PF_ParamDef* record;
    int index;
    double seconds;
  };

  void Acquire(std::string_view suite, int version);
  /// Notes a breach when there is no such acquisition.
  void Release(std::string_view suite, int version);

  void Add(const CheckOut& check_out) { check_outs_.push_back(check_out); }
  /// The latest check-out into that record; null when there is none.
  const CheckOut* Find(const PF_ParamDef* record) const;
  /// Notes a breach when there is no such check-out.
  void CheckIn(const PF_ParamDef* record);

  /// Keeps the effect's new world.
  World& Add(World world);
  /// Lets go of the world with these pixels; notes a breach when there is none.
  std::optional<World> Dispose(const PF_EffectWorld& world);
  const std::vector<World>& worlds() const { return worlds_; }

  /// Notes what the effect did wrong. The first stands: later ones often follow from it.
  void Note(const std::string& breach);
  /// The first breach, or what is still lent out; empty when all is in order.
  std::string Verdict() const;

 private:
  struct Acquisition {
    std::string suite;
    int version;
  };

  std::vector<Acquisition> acquisitions_;
  std::vector<CheckOut> check_outs_;
  std::vector<World> worlds_;
  std::string breach_;
};

}  // namespace hosting
