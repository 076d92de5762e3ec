// pixmisc batch SRC_DIR --to EXT [--out DIR] [--jobs N] [--report FILE.json]
//                       [--gallery] [--plan FILE]
//
// Walks a folder tree and converts every file that has a route to EXT on N
// worker threads, mirroring the folders under the output folder. Each
// conversion writes into a private staging folder first; only a finished
// conversion's non-empty files are moved into place, so an interrupted run
// (Ctrl-C: running conversions finish, no new one starts) never leaves a file
// the report does not list. With --plan, the rows of FILE ("SOURCE TARGET",
// the samples lists' form) name the conversions instead.
#include "cli/batch.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include "common/console.h"
#include "entry/routes.h"
#include "pixmisc.h"

namespace pixcli {
namespace {

namespace fs = std::filesystem;

volatile std::sig_atomic_t gInterrupted = 0;
extern "C" void OnInterrupt(int) { gInterrupted = 1; }

struct Job {
  fs::path source;
  fs::path targetDir;
  std::string targetName;
  pix::RouteMatch match;  // looked up once, before the run
};

struct Options {
  fs::path src, out, report, plan;
  std::string ext;
  unsigned jobs = 0;
  bool gallery = false;
};

int Usage(const char* why) {
  std::fprintf(stderr, "pixmisc: %s\n", why);
  std::fputs("Usage: pixmisc batch SRC_DIR --to EXT [--out DIR] [--jobs N] [--report FILE.json] [--gallery]\n"
             "                     [--plan FILE]\n",
             stderr);
  return 2;
}

bool Inside(const fs::path& dir, const fs::path& root) {
  std::error_code ec;
  fs::path d = fs::weakly_canonical(dir, ec), r = fs::weakly_canonical(root, ec);
  auto [a, b] = std::mismatch(r.begin(), r.end(), d.begin(), d.end());
  return a == r.end() || (a != r.end() && a->empty() && std::next(a) == r.end());
}

std::string RouteConverter(const pix::RouteMatch& m, const char* source) {
  if (m.kind == pix::RouteMatch::CatchAll) return pix::kCatchAllConverter;
  if (m.kind != pix::RouteMatch::Row) return "";
  return pix::ChooseConverter(*m.route, source).name;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> v;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    if (!line.empty()) v.push_back(line);
  }
  return v;
}

// A name not yet taken in dir: name, then name~2, name~3... before the extension.
fs::path FreeName(const fs::path& dir, const fs::path& name) {
  fs::path p = dir / name;
  for (int k = 2; fs::exists(p); ++k)
    p = dir / (name.stem().string() + "~" + std::to_string(k) + name.extension().string());
  return p;
}

class Runner {
 public:
  Runner(const Options& o, std::vector<Job> jobs) : opt_(o), jobs_(std::move(jobs)), reports_(jobs_.size()) {}

  void run() {
    for (std::size_t i = 0; i < jobs_.size(); ++i) {
      FileReport& r = reports_[i];
      r.source = jobs_[i].source.string();
      r.target = (jobs_[i].targetDir / jobs_[i].targetName).string();
      const pix::RouteMatch m = jobs_[i].match = pix::LookUpRoute(r.source.c_str(), r.target.c_str());
      r.route = m.kind == pix::RouteMatch::Row ? m.route->number : m.kind == pix::RouteMatch::CatchAll ? -1 : 0;
      r.converter = RouteConverter(m, r.source.c_str());
      r.status = m.kind == pix::RouteMatch::NoMatch ? "skipped" : "not started";
      if (m.kind != pix::RouteMatch::NoMatch) ++routed_;
    }
    start_ = std::chrono::steady_clock::now();
    std::vector<std::thread> workers;
    for (unsigned k = 0; k < opt_.jobs; ++k) workers.emplace_back([this, k] { work(k); });
    while (tty_ && finishedWorkers_ < opt_.jobs) {
      progress();
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    for (auto& t : workers) t.join();
    if (tty_) {
      progress();
      std::fputc('\n', stderr);
    }
    std::error_code ec;
    fs::remove_all(opt_.out / ".pixmisc-work", ec);
  }

  const std::vector<FileReport>& reports() const { return reports_; }
  bool interrupted() const { return gInterrupted != 0 && done_ < routed_; }
  std::size_t routed() const { return routed_; }
  void setTty(bool t) { tty_ = t; }

 private:
  void work(unsigned worker) {
    const fs::path staging = opt_.out / ".pixmisc-work" / std::to_string(worker);
    std::error_code ec;
    fs::create_directories(staging, ec);  // emptied after each conversion, kept until the run ends
    for (;;) {
      if (gInterrupted) break;
      const std::size_t i = next_++;
      if (i >= jobs_.size()) break;
      FileReport& r = reports_[i];
      if (r.status == "skipped") continue;
      convert(jobs_[i], r, staging);
      ++done_;
      if (r.status != "converted") ++errors_;
      if (!tty_) line(r);
    }
    ++finishedWorkers_;
  }

  void convert(const Job& job, FileReport& r, const fs::path& staging) {
    std::error_code ec;
    const std::string staged = (staging / job.targetName).string();
    const auto t0 = std::chrono::steady_clock::now();
    {
      pix::ConsoleCapture capture;
      r.result = pixMISC(r.source.c_str(), staged.c_str());
      r.messages = Lines(capture.text());
    }
    r.ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    std::vector<fs::path> made;
    for (const auto& e : fs::directory_iterator(staging, ec))
      if (e.is_regular_file() && e.file_size() > 0) made.push_back(e.path());
    std::sort(made.begin(), made.end());
    const bool ok = pix::RouteSucceeded(job.match, r.result) && !made.empty();
    r.status = ok ? "converted" : "failed";
    if (ok) {
      fs::create_directories(job.targetDir, ec);
      // names are chosen and taken as one step; workers placing into different folders do not wait
      std::lock_guard<std::mutex> lock(placeMutex_[std::hash<std::string>()(job.targetDir.string()) % placeMutex_.size()]);
      for (const fs::path& p : made) {
        fs::path dest = FreeName(job.targetDir, p.filename());
        fs::rename(p, dest, ec);
        if (ec) {
          fs::copy_file(p, dest, ec);
          fs::remove(p, ec);
        }
        if (!ec) r.outputs.push_back({dest.string(), static_cast<unsigned long long>(fs::file_size(dest, ec))});
      }
    }
    for (const auto& e : fs::directory_iterator(staging, ec)) fs::remove_all(e.path(), ec);  // empty or failed
  }

  void line(const FileReport& r) {
    std::lock_guard<std::mutex> lock(printMutex_);
    std::printf("%-9s %4d %-22s %s", r.status.c_str(), r.route, r.converter.c_str(), r.source.c_str());
    if (r.status == "converted") std::printf(" -> %zu file%s", r.outputs.size(), r.outputs.size() == 1 ? "" : "s");
    std::printf("\n");
    std::fflush(stdout);
  }

  void progress() {
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    const std::size_t done = done_, total = routed_;
    const double rate = s > 0 ? done / s : 0;
    const int width = 30;
    const int filled = total ? static_cast<int>(width * done / total) : width;
    const long left = rate > 0 ? static_cast<long>((total - done) / rate) : 0;
    std::fprintf(stderr, "\r[%s%s] %zu/%zu files  %.1f files/s  %zu errors  %ld:%02ld left ",
                 std::string(filled, '#').c_str(), std::string(width - filled, '.').c_str(), done, total, rate,
                 static_cast<std::size_t>(errors_), left / 60, left % 60);
    std::fflush(stderr);
  }

  const Options& opt_;
  std::vector<Job> jobs_;
  std::vector<FileReport> reports_;
  std::atomic<std::size_t> next_{0}, done_{0}, errors_{0};
  std::atomic<unsigned> finishedWorkers_{0};
  std::size_t routed_ = 0;
  bool tty_ = false;
  std::mutex printMutex_;
  std::array<std::mutex, 64> placeMutex_;
  std::chrono::steady_clock::time_point start_;
};

std::string Json(const std::string& s) {
  std::string o = "\"";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') {
      o += '\\';
      o += static_cast<char>(c);
    } else if (c < 0x20) {
      char b[8];
      std::snprintf(b, sizeof b, "\\u%04x", c);
      o += b;
    } else {
      o += static_cast<char>(c);
    }
  }
  return o + "\"";
}

bool WriteReport(const fs::path& path, const Options& o, const Runner& runner) {
  std::ofstream f(path);
  if (!f) return false;
  std::map<std::string, std::map<std::string, int>> perRoute;
  std::map<std::string, int> totals;
  f << "{\n  \"source_dir\": " << Json(o.src.string()) << ",\n  \"target_ext\": " << Json(o.ext)
    << ",\n  \"output_dir\": " << Json(o.out.string()) << ",\n  \"interrupted\": "
    << (runner.interrupted() ? "true" : "false") << ",\n  \"files\": [";
  bool first = true;
  for (const FileReport& r : runner.reports()) {
    f << (first ? "\n" : ",\n") << "    {\"source\": " << Json(r.source) << ", \"route\": " << r.route
      << ", \"converter\": " << Json(r.converter) << ", \"result\": " << r.result << ", \"status\": " << Json(r.status)
      << ", \"ms\": " << static_cast<long long>(r.ms * 1000) / 1000.0 << ", \"outputs\": [";
    for (std::size_t k = 0; k < r.outputs.size(); ++k)
      f << (k ? ", " : "") << "{\"path\": " << Json(r.outputs[k].path) << ", \"bytes\": " << r.outputs[k].bytes << "}";
    f << "], \"messages\": [";
    for (std::size_t k = 0; k < r.messages.size(); ++k) f << (k ? ", " : "") << Json(r.messages[k]);
    f << "]}";
    first = false;
    ++totals[r.status];
    if (r.status != "skipped") ++perRoute[std::to_string(r.route) + " " + r.converter][r.status];
  }
  f << "\n  ],\n  \"summary\": {\"files\": " << runner.reports().size();
  for (const char* k : {"converted", "failed", "skipped", "not started"}) f << ", " << Json(k) << ": " << totals[k];
  f << ", \"routes\": {";
  first = true;
  for (const auto& [route, counts] : perRoute) {
    f << (first ? "" : ", ") << Json(route) << ": {";
    bool inner = true;
    for (const auto& [status, n] : counts) {
      f << (inner ? "" : ", ") << Json(status) << ": " << n;
      inner = false;
    }
    f << "}";
    first = false;
  }
  f << "}}\n}\n";
  return static_cast<bool>(f);
}

bool ParseArgs(int argc, char** argv, Options& o, std::string& why) {
  for (int i = 0; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&](fs::path& p) {
      if (i + 1 >= argc) return false;
      p = argv[++i];
      return true;
    };
    fs::path v;
    if (a == "--to" && value(v)) o.ext = v.string();
    else if (a == "--out" && value(v)) o.out = v;
    else if (a == "--report" && value(v)) o.report = v;
    else if (a == "--plan" && value(v)) o.plan = v;
    else if (a == "--jobs" && value(v)) o.jobs = static_cast<unsigned>(std::atoi(v.string().c_str()));
    else if (a == "--gallery") o.gallery = true;
    else if (o.src.empty() && !a.empty() && a[0] != '-') o.src = a;
    else {
      why = "unknown or incomplete option '" + a + "'";
      return false;
    }
  }
  if (o.src.empty()) why = "batch needs SRC_DIR";
  else if (o.ext.empty() && o.plan.empty()) why = "batch needs --to EXT (or --plan FILE)";
  if (!why.empty()) return false;
  if (!o.ext.empty() && o.ext[0] != '.') o.ext = "." + o.ext;
  if (o.jobs == 0) o.jobs = std::max(1u, std::thread::hardware_concurrency());
  if (o.out.empty()) o.out = fs::path(o.src.filename().empty() ? o.src.parent_path().filename() : o.src.filename()).string() +
                             "-" + (o.ext.empty() ? std::string("plan") : o.ext.substr(1));
  return true;
}

std::vector<Job> WalkJobs(const Options& o) {
  std::vector<fs::path> files;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(o.src, fs::directory_options::skip_permission_denied, ec);
       it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (ec) break;
    if (it->is_regular_file(ec)) files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());
  std::vector<Job> jobs;
  for (const fs::path& f : files) {
    fs::path rel = fs::relative(f, o.src, ec);
    jobs.push_back({f, o.out / rel.parent_path(), f.stem().string() + o.ext, {}});
  }
  return jobs;
}

std::vector<Job> PlanJobs(const Options& o) {
  std::vector<Job> jobs;
  std::set<std::pair<std::string, std::string>> seen;  // a row listed twice converts once
  std::ifstream in(o.plan);
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string src, dst;
    if (!(words >> src >> dst) || src[0] == '#' || !seen.insert({src, dst}).second) continue;
    fs::path s = o.src / src;
    jobs.push_back({s, o.out / s.filename(), dst, {}});
  }
  return jobs;
}

}  // namespace

int Batch(int argc, char** argv) {
  Options o;
  std::string why;
  if (!ParseArgs(argc, argv, o, why)) return Usage(why.c_str());
  std::error_code ec;
  if (!fs::is_directory(o.src, ec)) {
    std::fprintf(stderr, "pixmisc: %s is not a folder\n", o.src.string().c_str());
    return 1;
  }
  if (Inside(o.out, o.src)) {
    std::fprintf(stderr, "pixmisc: the output folder %s is inside the source folder; choose another with --out\n",
                 o.out.string().c_str());
    return 2;
  }
  if (!o.plan.empty() && !fs::is_regular_file(o.plan, ec)) {
    std::fprintf(stderr, "pixmisc: cannot read the plan %s\n", o.plan.string().c_str());
    return 1;
  }
  fs::create_directories(o.out, ec);
  if (ec) {
    std::fprintf(stderr, "pixmisc: cannot create %s: %s\n", o.out.string().c_str(), ec.message().c_str());
    return 1;
  }
  Runner runner(o, o.plan.empty() ? WalkJobs(o) : PlanJobs(o));
  runner.setTty(isatty(STDERR_FILENO) != 0);

#ifdef _WIN32
  void (*old)(int) = std::signal(SIGINT, OnInterrupt);
  gInterrupted = 0;
  runner.run();
  std::signal(SIGINT, old == SIG_ERR ? SIG_DFL : old);
#else
  struct sigaction sa {}, old {};
  sa.sa_handler = OnInterrupt;
  sigemptyset(&sa.sa_mask);
  sigaction(SIGINT, &sa, &old);
  gInterrupted = 0;
  runner.run();
  sigaction(SIGINT, &old, nullptr);
#endif

  std::size_t converted = 0, failed = 0, skipped = 0;
  for (const FileReport& r : runner.reports()) {
    converted += r.status == "converted";
    failed += r.status == "failed";
    skipped += r.status == "skipped";
  }
  if (!o.report.empty() && !WriteReport(o.report, o, runner))
    std::fprintf(stderr, "pixmisc: cannot write the report %s\n", o.report.string().c_str());
  if (o.gallery) WriteGallery(o.out.string(), runner.reports());
  std::printf("%zu converted, %zu failed, %zu skipped (no route)%s\n", converted, failed, skipped,
              runner.interrupted() ? ", interrupted" : "");
  return converted == runner.routed() && !runner.interrupted() ? 0 : 1;
}

}  // namespace pixcli
