// Each fault of a session gives its finding, a healthy session gives none, and everything that is said of a session or
// a bench stands in one golden file.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"
#include "tests/shadingctl/SickSession.h"
#include "tests/shadingctl/parts/BenchWorld.h"
#include "tools/shadingctl/findings/Findings.h"
#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {
namespace {

using Json = nlohmann::json;

Json FindingsIn(TemporaryDirectory const& recording, std::string const& options = "") {
  Outcome const outcome =
      RunTool("replay --format json " + Replaced(options, "DIR", recording.Path()) + " " + recording.Path());
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return Json::parse(outcome.out).at("findings");
}

Json FindingsIn(SickSession const& session, std::string const& options = "") {
  TemporaryDirectory const directory;
  session.Write(directory);
  directory.Write("device.json", "{}");
  return FindingsIn(directory, options);
}

// Of each finding: severity, code, number of frames; "<" and the one that explains it; "@" and the hundredths of a
// second at which it begins where it is not about frames.
std::string Codes(Json const& findings) {
  std::string codes;
  for (auto const& finding : findings) {
    codes += (codes.empty() ? "" : " ") + finding.at("severity").get<std::string>().substr(0, 1) + "_" +
             finding.at("code").get<std::string>() + ":" + finding.at("frames").at("count").dump();
    if (finding.contains("explained_by")) codes += "<" + finding.at("explained_by").get<std::string>();
    auto const& intervals = finding.at("intervals");
    if (!finding.at("frames").at("first").empty() || intervals.empty()) continue;
    codes += "@" + std::to_string(std::lround(100 * intervals.at(0).at("from_s").get<double>()));
  }
  return codes;
}

// Each wording once, whatever its numbers.
class Words {
 public:
  void Add(std::string const& code, std::string const& text) {
    if (mSeen.insert(code + WithoutNumbers(text)).second) mTexts[code] += "  " + text + "\n";
  }

  // The texts of these codes, of which none may be missing, and no others be there.
  std::string Section(std::string const& title, std::vector<std::string> const& codes) const {
    std::string section = title + "\n\n";
    for (std::string const& code : codes) {
      EXPECT_EQ(mTexts.count(code), 1U) << title << ": no session brings " << code << " about";
      if (mTexts.count(code) > 0) section += code + "\n" + mTexts.at(code);
    }
    EXPECT_EQ(mTexts.size(), codes.size()) << title;
    return section + "\n";
  }

 private:
  std::set<std::string> mSeen;
  std::map<std::string, std::string> mTexts;
};

// The codes in the first column of the page's table whose first heading this is.
std::vector<std::string> CodesOfPage(std::string const& heading) {
  std::string const page = ReadFile(BENCH_PAGE);
  std::string const head = "\n| `" + heading + "` |";
  std::size_t const at = page.find(head) + 1;
  std::string const table = page.substr(at, page.find("\n\n", at) - at);
  std::vector<std::string> codes;
  for (std::string const& line : Lines(table.substr(table.find('\n')))) {
    std::string const cell = line.substr(0, line.find('|', 1));
    std::regex const code("`([a-z_]+)`");
    for (std::sregex_iterator found(cell.begin(), cell.end(), code), end; found != end; ++found) {
      codes.push_back((*found)[1]);
    }
  }
  return codes;
}

struct Told {
  std::string words;
  std::string figures;
};

Told ToldOfSessions() {
  Words words;
  std::string figures;
  auto const expect = [&](char const* name, Json const& findings, char const* codes) {
    EXPECT_EQ(Codes(findings), codes) << name << findings.dump(1);
    figures += name + std::string("\n");
    for (Json const& finding : findings) {
      words.Add(finding.at("code").get<std::string>(),
                finding.at("text").get<std::string>() + "\n    " + finding.at("advice").get<std::string>());
      figures += "  " + finding.at("code").get<std::string>();
      for (char const* const what : {"figures", "frames", "intervals"}) figures += " " + finding.at(what).dump();
      figures += "\n";
    }
  };
  for (Sickness const& sickness : Sicknesses()) {
    SickSession session = HealthySession(sickness.plan);
    if (sickness.infect) sickness.infect(session);
    expect(sickness.name, FindingsIn(session, sickness.options), sickness.codes);
  }
  for (GeneratedSickness const& sickness : GeneratedSicknesses()) {
    TemporaryDirectory const directory;
    Outcome const made =
        RunScript("shadingctl generate --hall-rate 500 --late 0 --pause-us 0 --overlap 0 --drop 0 --exposure-us 5000 " +
                  (sickness.options + (" " + directory.Path())) + " && sed -E -i '" + sickness.edit + "' " +
                  directory.Path() + "/calls.csv");
    EXPECT_EQ(made.exitCode, 0) << sickness.name << made.err;
    expect(sickness.name, FindingsIn(directory), sickness.codes);
  }
  std::vector<std::string> codes;
  for (FindingKind const& kind : FindingKinds()) codes.emplace_back(kind.code);
  return {words.Section("Findings of sessions, and what helps", codes), figures};
}

// Without numbers: each standard library has its own random errors of a bench.
std::string WordsOfBenches() {
  Words verdicts;
  Words refusals;
  Words diagnoses;
  auto const add = [&](ReferenceFit const& fit) {
    if (fit.refused) return refusals.Add(fit.refused->code, WithoutNumbers(fit.refused->text));
    verdicts.Add(VerdictOf(fit), WithoutNumbers(ReasonOf(fit)));
    for (Cause const& cause : DiagnosisOf(fit)) diagnoses.Add(cause.code, WithoutNumbers(cause.text));
  };
  for (UselessBench const& useless : UselessBenches()) add(FitReference(useless.data.samples, useless.data.frames, {}));
  for (BenchTruth const& truth : BenchKinds()) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
      BenchData const data = MakeBench(truth, seed);
      ReferenceFit const fit = FitReference(data.samples, data.frames, {});
      if (VerdictCode(fit) != truth.verdict || DiagnosisCodes(fit) != truth.diagnosis) continue;  // by chance
      add(fit);
      break;
    }
  }
  return verdicts.Section("Verdicts of fits", CodesOfPage("verdict")) +
         refusals.Section("Refusals of fits", CodesOfPage("refused")) +
         diagnoses.Section("Diagnoses of fits, and what helps", CodesOfPage("diagnosis"));
}

TEST(Words, OfSickSessionsAndOfBenchesAreThoseOfTheGolden) {
  Told const told = ToldOfSessions();
  ExpectGolden(told.figures, "figures.txt");
  ExpectGolden(told.words + WordsOfBenches(), "words.txt");
}

TEST(FailOn, NamesTheFindingAndItsPlace) {
  TemporaryDirectory const directory;
  ASSERT_EQ(
      RunTool("generate --late 0 --pause-us 0 --overlap 0 --drop 0 --event freeze@2 " + directory.Path()).exitCode, 0);
  struct {
    char const* names;
    int exitCode;
    char const* told;
  } const rows[] = {
      {"wrong", 1, "--fail-on wrong: expected no such finding, found still [from 1.999 s to "},
      {"gaps,still", 1, "--fail-on still: "},
      {"lost", 0, ""},
      {"stil", 2, "stil"},
  };
  for (auto const& row : rows) {
    Outcome const outcome = RunTool("replay --summary " + directory.Path() + " --fail-on " + row.names);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.names;
    EXPECT_NE(outcome.err.find(row.told), std::string::npos) << outcome.err;
  }
}

// The library tells windows and ends from level 4 on.
TEST(Findings, BelowLogLevelFourSayThatTheEndsAreNotTold) {
  for (int level = 0; level <= 5; ++level) {
    std::string const codes = Codes(FindingsIn(HealthySession(), "--log-level " + std::to_string(level)));
    EXPECT_EQ(codes, level < 4 ? "n_not_told:200" : "") << level;
  }
}

}  // namespace
}  // namespace shadingctl
