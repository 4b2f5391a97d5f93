// The taps under a host: the replay program, with libraries of its own in which the taps stand in place.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// A tree of program and libraries like the built one, with the taps on, and a directory for what they record.
class Capture : public testing::Test {
 protected:
  Capture() {
    std::filesystem::create_directory(path("captures"));
    std::string const stage = "mkdir tapped tapped/bin && cp " PROGRAM_DIRECTORY
                              "/shadingctl tapped/bin && cp -r " LIBRARY_DIRECTORY " tapped/lib";
    EXPECT_EQ(Run(stage).exitCode, 0);
  }

  std::string path(std::string const& name) const { return mPlace.Path() + "/" + name; }

  // A shell script in the test's directory; `tapped` runs the program with the taps on. `same` compares the rows of a
  // recording's replay with those of its host: the host computes one frame in ten twice to measure it and shows it
  // once. Column 19 waits for later batches, of which there may be more in one of them.
  Outcome Run(std::string const& script) const {
    return RunScript("cd " + mPlace.Path() +
                     " || exit 99\n"
                     "tap() { " LIBRARY_DIRECTORY
                     "/vcam-shadingutil/taps/tap \"$@\" tapped/lib; }\n"
                     "same() { cut -d, -f-18 $1 | uniq >left; cut -d, -f-18 $2 | cmp - left; }\n"
                     "tapped() { VCAM_TAP_DIRECTORY=captures tapped/bin/shadingctl \"$@\"; }\n" +
                     script);
  }

  // The rest of the line of recording.csv that begins with `key`, without blanks.
  std::string Told(std::string const& key) const {
    return Lines(Run("sed -n 's/^" + key + ", *//p' captures/*/recording.csv").out + "\n")[0];
  }

  TemporaryDirectory const mPlace;
};

TEST_F(Capture, ReplaysToTheResultsThatTheHostGot) {
  char const* const sessions[] = {
      "",
      "--hall-rate 8000 --frame-rate 30 --exposure-us 10000:60000",
      "--cameras 2 --types 0,5 --exposure1-us 1000 --restarts 3 --switch-every 20 --switch-late 2",
      "--lost 0.1 --discarded 0.1 --overlap 1 --event order@-1 --jitter-us 400",
  };
  for (std::string const session : sessions) {
    Outcome const outcome = Run("rm -rf captures/* session; shadingctl generate session " + session +
                                " >/dev/null || exit 98\n"
                                "tap on || exit 97\n"
                                "shadingctl replay --format csv session -o plain.csv >/dev/null || exit 96\n"
                                "tapped replay --format csv session -o tapped.csv >/dev/null || exit 95\n"
                                "tap off\n"
                                "cmp plain.csv tapped.csv || exit 94\n"
                                "shadingctl replay --format csv captures/* -o again.csv >/dev/null || exit 93\n"
                                "same again.csv plain.csv");
    EXPECT_EQ(outcome.exitCode, 0) << session << "\n" << outcome.out << outcome.err;
    EXPECT_EQ(Told("lost_calls") + Told("lost_samples") + Told("state"), "00complete") << session;
  }
}

// Batches that the library neither splits nor discards are read back from it as they were delivered.
TEST_F(Capture, OfTheLibraryAloneSaysThatBatchesAreThoseItFiled) {
  Outcome const outcome =
      Run("tap library && shadingctl generate --overlap 0 session >/dev/null || exit 98\n"
          "tapped replay --format csv session -o tapped.csv >/dev/null || exit 97\n"
          "shadingctl replay --format csv session -o plain.csv >/dev/null || exit 96\n"
          "cmp plain.csv tapped.csv || exit 94\n"
          "shadingctl replay --format csv captures/* -o again.csv >/dev/null || exit 93\n"
          "same again.csv plain.csv");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
  EXPECT_EQ(Told("batches"), "filed");
}

TEST_F(Capture, WithoutItsDirectoryLeavesTheHostAlone) {
  Outcome const outcome =
      Run("tap on && rmdir captures && tapped replay --format csv -o tapped.csv >/dev/null && shadingctl replay "
          "--format csv -o plain.csv "
          ">/dev/null && cmp plain.csv tapped.csv");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
  std::string const told = "shadingtap: nothing is recorded: ";
  EXPECT_EQ(outcome.err.find(told), outcome.err.rfind(told)) << outcome.err;
  EXPECT_NE(outcome.err.find(told + "captures/recording-"), std::string::npos) << outcome.err;
  Outcome const unnamed = Run("export VCAM_TAP_DIRECTORY=; tapped/bin/shadingctl replay --summary >/dev/null");
  EXPECT_NE(unnamed.err.find(told + "/data/vendor/camera_dump/recording-"), std::string::npos) << unnamed.err;
}

// On a full disk the files end with a whole line, and say what they lack.
TEST_F(Capture, OnAFullDiskIsBrokenAndReadable) {
  if (RunScript("unshare -m true || unshare -Urm true").exitCode != 0) GTEST_SKIP() << "no mount namespace to be had";
  Outcome const outcome =
      Run("inside() {\n"
          "  mount -t tmpfs -o size=64k tmpfs captures || exit 97\n"
          "  tapped replay --format csv -o tapped.csv >/dev/null || exit 96\n"
          "  cp -r captures/* kept; cat kept/recording.csv\n"
          "}\n"
          "if [ -z \"$INSIDE\" ]; then INSIDE=1; export INSIDE; tap on || exit 98\n"
          "  unshare -m true 2>/dev/null && exec unshare -m sh \"$0\"; exec unshare -Urm sh \"$0\"; fi\n"
          "inside");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
  EXPECT_NE(outcome.out.find("state,  broken\n"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.err.find("shadingtap: the recording ends here, as it cannot be written: No space left"),
            std::string::npos)
      << outcome.err;
  Outcome const after =
      Run("shadingctl replay --format csv -o plain.csv >/dev/null && cmp plain.csv tapped.csv || exit 94\n"
          "shadingctl replay --format csv kept -o again.csv >/dev/null || exit 93\n"
          "calls=$(($(wc -l <kept/calls.csv) - 1)); lost=$(sed -n 's/^lost_calls, *//p' kept/recording.csv)\n"
          "[ \"$lost\" -gt 100 ] && echo $((calls + lost))");
  ASSERT_EQ(after.exitCode, 0) << after.out << after.err;
  // The calls of a replay of the built-in session, as a capture without loss counts them.
  EXPECT_EQ(
      after.out,
      Run("rm -rf captures/*; tapped replay --format csv -o tapped.csv >/dev/null; tail -n 1 captures/*/calls.csv | "
          "cut -d, -f1")
          .out);
}

#ifdef SLOW_DISK_LIBRARY
// Every write takes 60 ms, in which the host makes hundreds of calls: more than the queue holds in the end.
// With calls missing, later answers may differ: exit code 1.
TEST_F(Capture, OnASlowDiskCountsWhatItLosesAndTheHostGoesOn) {
  Outcome const outcome =
      Run("tap on && shadingctl generate --frames 20000 session >/dev/null || exit 98\n"
          "shadingctl replay --format csv --log-level 0 session -o plain.csv >/dev/null || exit 97\n"
          "LD_PRELOAD=" SLOW_DISK_LIBRARY
          " tapped replay --format csv --log-level 0 session -o tapped.csv >/dev/null || exit 96\n"
          "cmp plain.csv tapped.csv || exit 94\n"
          "shadingctl replay --format csv captures/* -o again.csv >/dev/null; [ $? -le 1 ] || exit 93\n"
          "calls=$(($(cat captures/*/calls.csv | wc -l) - 1)); lost=$(sed -n 's/^lost_calls, *//p' "
          "captures/*/recording.csv)\n"
          "samples=$(($(cat captures/*/hall.csv | wc -l) - 1)); all=$(($(wc -l <session/hall.csv) - 1))\n"
          "[ \"$lost\" -gt 100 ] || exit 92\n"
          "[ $((samples + $(sed -n 's/^lost_samples, *//p' captures/*/recording.csv))) = $all ] || exit 91\n"
          "[ $((calls + lost)) = $(($(wc -l <session/calls.csv) - 1)) ]");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
  EXPECT_EQ(Told("state"), "complete");
}
#endif

TEST_F(Capture, TapsGoOnOnceAndComeOffWhole) {
  Outcome const outcome =
      Run("(cd tapped/lib && cksum *.so */*.so) >before; tap on && tap on; echo $?\n"
          "tap off && (cd tapped/lib && cksum *.so* */*.so*) | cmp - before");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "3\n");
  struct {
    char const* script;
    char const* told;
  } const refused[] = {
      {"tap off", "lib/libvcam_shadingutil.so.real: expected a tap to be on, found none"},
      {"rm tapped/lib/vcam-shadingutil/libcam.utils.sensorprovider.so; tap on",
       "libcam.utils.sensorprovider.so: expected the library, found none"},
  };
  for (auto const& [script, told] : refused) {
    Outcome const refusal = Run(script);
    EXPECT_EQ(refusal.exitCode, 3) << script;
    EXPECT_NE(refusal.err.find(told), std::string::npos) << refusal.err;
  }
  EXPECT_EQ(Run("ls tapped/lib/*.real").out, "") << "nothing was moved";
  EXPECT_NE(outcome.err.find("libvcam_shadingutil.so.real: expected no tap to be on"), std::string::npos)
      << outcome.err;
}

}  // namespace
}  // namespace shadingctl
