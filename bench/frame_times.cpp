// The time of a frame: the shipped library through its virtual table, compared with the reference model, two lower
// bounds and two other ways to store the samples. docs/measurements.md explains the figures.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "bench/Groups.h"
#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"

int main(int argc, char** argv) {
  // Memory that goes back to the system in one round would have to be fetched in the next.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);

  CLI::App app("Measures what a frame costs in the shading library.");
  std::string libraryPath;
  std::string recording;
  std::string jsonPath;
  std::size_t rounds = 100;
  app.add_option("--library", libraryPath, "the library (default: lib/libvcam_shadingutil.so beside this program)");
  app.add_option("--recording", recording, "a recording to be played as well (a directory)");
  app.add_option("--json", jsonPath, "a file for the figures");
  app.add_option("--rounds", rounds, "rounds of short blocks")->check(CLI::Range(1, 100000))->capture_default_str();
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    if (libraryPath.empty()) libraryPath = hosting::DefaultLibraryPath();
    bench::Library library(libraryPath);
    bench::Table table;
    if (!bench::MeasureStreams(library, recording, rounds, table)) return 1;
    bench::MeasureSurroundings(library, rounds, table);
    nlohmann::json document = bench::Circumstances(argc, argv);
    document["rounds"] = rounds;
    document["rows"] = table.Json();
    std::printf("%s, %s\n%s\n\n", document["machine"].get<std::string>().c_str(),
                document["date"].get<std::string>().c_str(), document["command"].get<std::string>().c_str());
    table.Print();
    if (!jsonPath.empty()) bench::WriteJson(jsonPath, document);
  } catch (hosting::UnusableInput const& unusable) {
    std::fprintf(stderr, "%s\n", unusable.what());
    return 3;
  }
  return 0;
}
