// Runs one job at one resolution: the library with its best kernels and with the plain definitions,
// the peers, and memcpy of the page's bytes. Google Benchmark measures and writes the times; its
// context says what was run.
//
//   pixtola_bench list                               the names of the jobs
//   pixtola_bench pages FOLDER                       writes the pages as PGM and PPM files
//   pixtola_bench JOB DPI [options of Google Benchmark]
#include <benchmark/benchmark.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include "agreement.h"
#include "codec_jobs.h"
#include "job.h"
#include "pages.h"
#include "peers.h"
#include "resample_jobs.h"
#include "support/kernel_targets.h"

namespace pixtola::bench {

namespace {

constexpr std::uint32_t kResolutions[] = {300, 600};

/// One line of the results.
struct Competitor {
  std::string name;
  std::string difference;  ///< from the library's result; empty: none
  Work work;
  bool by_plain_kernels = false;
};

/// The kernels that a competitor runs with, until the end of the scope.
class KernelChoice {
 public:
  explicit KernelChoice([[maybe_unused]] bool plain) {
#if PIXTOLA_WITH_HIGHWAY
    if (plain) forced_.emplace(HWY_SCALAR);
#endif
  }

 private:
#if PIXTOLA_WITH_HIGHWAY
  std::optional<test::ForcedTargets> forced_;
#endif
};

#if PIXTOLA_WITH_HIGHWAY
bool PlainKernelsCanBeForced() {
  const std::vector<std::int64_t> targets = test::RunnableTargets();
  return targets.size() > 1 && targets.back() == HWY_SCALAR;
}
std::string BestTarget() { return hwy::TargetName(test::RunnableTargets().front()); }
#else
bool PlainKernelsCanBeForced() { return false; }
std::string BestTarget() { return "none, plain definitions only"; }
#endif

// -------------------------------------------------------------------------------- what takes part

std::vector<Job> AllJobs() {
  std::vector<Job> all;
  for (const auto& jobs : {ConvertJobs(), TransformJobs(), ProcessJobs(), LockJobs(),
                           ResampleJobs(), CodecJobs(), PcxJobs()}) {
    all.insert(all.end(), jobs.begin(), jobs.end());
  }
  return all;
}

Job JobNamed(const std::string& name) {
  for (const Job& job : AllJobs()) {
    if (job.name == name) return job;
  }
  throw std::runtime_error("there is no job '" + name + "'");
}

Work CopyingBytes(const Image& source) {
  const auto copy = std::make_shared<Image>(source);
  const auto run = [&source, copy] {
    std::memcpy(copy->bytes.data(), source.bytes.data(), source.bytes.size());
    benchmark::DoNotOptimize(copy->bytes.data());
  };
  return {.run = run, .result = [copy] { return *copy; }};
}

std::vector<Competitor> CompetitorsIn(const Job& job, const Image& page) {
  const Work own = job.make(page);
  std::vector<Competitor> competitors = {{"pixtola", "", own},
                                         {"memcpy", "the input's bytes", CopyingBytes(page)}};
  if (job.has_kernels && PlainKernelsCanBeForced()) {
    competitors.push_back({"plain", "", own, true});
  }
  return competitors;
}

Image RunOnce(const Work& work) {
  if (work.prepare) work.prepare();
  work.run();
  return work.result();
}

/// The peers of a job, each after a check of its result.
std::vector<Competitor> CheckedPeers(const Job& job, const Image& page, const Image& expected) {
  std::vector<Competitor> competitors;
  for (const Peer& peer : AllPeers()) {
    if (peer.job != job.name) continue;
    Work work = peer.make(page);
    const std::string wrong = Disagreement(expected, RunOnce(work), peer.agreement);
    Require(wrong.empty(), job.name + ", " + peer.library + ": " + wrong);
    competitors.push_back({peer.library, peer.difference, std::move(work)});
  }
  return competitors;
}

void CheckPlainKernels(const Job& job, const Image& page, const Image& expected) {
  const KernelChoice plain(true);
  const std::string wrong = Disagreement(expected, RunOnce(job.make(page)), Agreement::kSameBytes);
  Require(wrong.empty(), job.name + ", plain kernels: " + wrong);
}

/// A job that changes nothing though it should would be timed for nothing.
void CheckThatItDoesSomething(const Job& job, const Image& page, const Image& result) {
  const bool is_page = result.bytes == page.bytes;
  Require(is_page == job.keeps_page,
          job.name + (is_page ? " changes nothing" : " does not keep the page"));
}

// ----------------------------------------------------------------------------------------- timing

/// Time of all threads together, in seconds: other programs' work does not count, a peer's threads
/// do.
double ProcessorTime() {
  timespec time{};
  Require(clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time) == 0, "clock_gettime");
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void Time(benchmark::State& state, const Competitor& competitor) {
  const KernelChoice choice(competitor.by_plain_kernels);
  for ([[maybe_unused]] auto _ : state) {
    if (competitor.work.prepare) competitor.work.prepare();
    const double start = ProcessorTime();
    competitor.work.run();
    state.SetIterationTime(ProcessorTime() - start);
  }
  state.SetLabel(competitor.difference);
}

void Register(const Competitor& competitor) {
  const auto time = [competitor](benchmark::State& state) { Time(state, competitor); };
  benchmark::RegisterBenchmark(competitor.name.c_str(), time)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

/// Threads that a library started would still be there.
void RequireOneThread() {
  std::error_code unknown;
  std::size_t threads = 0;
  for (std::filesystem::directory_iterator task("/proc/self/task", unknown), end; task != end;
       ++task) {
    ++threads;
  }
  Require(unknown || threads == 1, "a library has started threads");
}

std::uint32_t ParseResolution(const std::string& text) {
  for (const std::uint32_t dpi : kResolutions) {
    if (text == std::to_string(dpi)) return dpi;
  }
  throw std::runtime_error("the resolution must be 300 or 600");
}

void AddContext(const Job& job, const std::string& dpi) {
  benchmark::AddCustomContext("job", job.name);
  benchmark::AddCustomContext("title", job.title);
  benchmark::AddCustomContext("dpi", dpi);
  benchmark::AddCustomContext("compiler", PIXTOLA_BENCH_COMPILER);
  benchmark::AddCustomContext("kernels", BestTarget());
  benchmark::AddCustomContext("peers", PeerVersions());
}

void RunJob(const std::string& name, const std::string& dpi) {
  const Job job = JobNamed(name);
  const Image page = MakePage(ParseResolution(dpi), job.bytes_per_pixel);
  const Image expected = RunOnce(job.make(page));
  CheckThatItDoesSomething(job, page, expected);
  if (job.has_kernels && PlainKernelsCanBeForced()) CheckPlainKernels(job, page, expected);

  for (const Competitor& competitor : CompetitorsIn(job, page)) Register(competitor);
  for (const Competitor& competitor : CheckedPeers(job, page, expected)) Register(competitor);
  AddContext(job, dpi);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::ClearRegisteredBenchmarks();
  RequireOneThread();
}

// --------------------------------------------------------------------------------- other commands

void ListJobs() {
  for (const Job& job : AllJobs()) std::cout << job.name << "\n";
}

/// PGM for gray, PPM, whose pixels are red, green, blue, for colour.
void WritePage(const std::filesystem::path& path, const Image& page) {
  const bool colored = page.bytes_per_pixel == 3;
  std::string pixels(page.bytes.begin(), page.bytes.end());
  for (std::size_t i = 0; colored && i < pixels.size(); i += 3) std::swap(pixels[i], pixels[i + 2]);
  std::ofstream file(path, std::ios::binary);
  file << (colored ? "P6 " : "P5 ") << page.width << " " << page.height << " 255\n" << pixels;
  file.close();
  Require(file.good(), "cannot write " + path.string());
}

void WriteFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  Require(file.good(), "cannot write " + path.string());
}

void WritePages(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  for (const std::uint32_t dpi : kResolutions) {
    const std::string number = std::to_string(dpi);
    WritePage(folder / ("gray-" + number + ".pgm"), MakePage(dpi, 1));
    WritePage(folder / ("color-" + number + ".ppm"), MakePage(dpi, 3));
  }
  // For other libraries to decode.
  for (const PageFormat& format : PageFormats()) {
    WriteFile(folder / (std::string(format.name) + "-300"),
              EncodePage(format, MakePage(300, format.bytes_per_pixel)));
  }
  WriteFile(folder / "pcx-24-300", EncodePcxPage(MakePage(300, 3)));
}

int Main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);  // removes its own options
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 1 && arguments[0] == "list") {
    ListJobs();
  } else if (arguments.size() == 2 && arguments[0] == "pages") {
    WritePages(arguments[1]);
  } else if (arguments.size() == 2) {
    RunJob(arguments[0], arguments[1]);
  } else {
    throw std::runtime_error("usage: pixtola_bench list | pages FOLDER | JOB DPI [OPTION...]");
  }
  return 0;
}

}  // namespace

}  // namespace pixtola::bench

int main(int argc, char** argv) {
  try {
    return pixtola::bench::Main(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "pixtola_bench: " << error.what() << "\n";
    return 1;
  }
}
