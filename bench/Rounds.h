// Measurements that alternate: every round runs one short block of each. A machine's speed changes from one minute to
// the next, so two blocks are only compared within a round, and what is reported is the median over the rounds.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace bench {

class Rounds {
 public:
  // `block` runs `units` times what is measured (frames, calls); `prepare` comes before it and is not measured.
  void Add(std::string const& name, std::size_t units, std::function<void()> prepare, std::function<void()> block);

  // As above, with a block that measures itself and returns its ns.
  void AddTimed(std::string const& name, std::size_t units, std::function<double()> block);

  // Runs all blocks that were added, through Google Benchmark, and forgets them; the first rounds only warm up.
  void Run(std::size_t rounds);

  // ns per unit in one round.
  using Round = std::map<std::string, double>;

  // Median of figure(round) over all rounds.
  double Median(std::function<double(Round const&)> const& figure) const;
  double Median(std::string const& name) const;

 private:
  std::vector<Round> mRounds;
};

}  // namespace bench
