#include "support.h"

#include <sys/wait.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>

namespace pixtest {

Scratch::Scratch() {
  static std::atomic<unsigned> counter{0};
  std::random_device rd;
  fs::path base = fs::temp_directory_path() / "pixmisc-tests";
  fs::create_directories(base);
  for (;;) {
    dir_ = base / ("t" + std::to_string(rd()) + "-" + std::to_string(counter++));
    if (fs::create_directory(dir_)) break;
  }
}

Scratch::~Scratch() {
  std::error_code ec;
  fs::remove_all(dir_, ec);
}

std::vector<std::string> Scratch::files() const {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir_))
    if (e.is_regular_file()) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

namespace {

// Every test program runs in a scratch working folder of its own, so that
// converters writing side files to the working directory (the shape
// archives' "index.fsh" and "alpha8.dat") never write where the program was
// started, such as the source tree.
class ScratchWorkingDir : public testing::Environment {
 public:
  void SetUp() override {
    start_ = fs::current_path();
    dir_ = std::make_unique<Scratch>();
    fs::current_path(dir_->dir());
  }
  void TearDown() override {
    std::error_code ec;
    fs::current_path(start_, ec);
    dir_.reset();
  }

 private:
  fs::path start_;
  std::unique_ptr<Scratch> dir_;
};

[[maybe_unused]] testing::Environment* const kWorkingDir = testing::AddGlobalTestEnvironment(new ScratchWorkingDir);

}  // namespace

Bytes ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return Bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void WriteFile(const std::string& path, const std::string& text) { WriteFile(path, ToBytes(text)); }

Bytes ToBytes(const std::string& s) { return Bytes(s.begin(), s.end()); }

std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) {
    if (c == '\'') q += "'\\''";
    else q += c;
  }
  return q + "'";
}

RunResult Run(const std::string& command) {
  RunResult r;
  char errName[] = "/tmp/pixmisc-stderr-XXXXXX";
  int fd = mkstemp(errName);
  if (fd < 0) return r;
  close(fd);
  std::string full = "( " + command + " ) </dev/null 2>" + errName;
  FILE* p = popen(full.c_str(), "r");
  if (!p) {
    std::remove(errName);
    return r;
  }
  char buf[4096];
  std::size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  int st = pclose(p);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  Bytes err = ReadFile(errName);
  r.err.assign(err.begin(), err.end());
  std::remove(errName);
  return r;
}

bool HaveTool(const std::string& name) {
  return Run("command -v " + Quote(name) + " >/dev/null").status == 0;
}

namespace {
bool Token(const Bytes& d, std::size_t& pos, int& value) {
  while (pos < d.size()) {
    if (d[pos] == '#') {
      while (pos < d.size() && d[pos] != '\n') ++pos;
    } else if (std::isspace(d[pos])) {
      ++pos;
    } else {
      break;
    }
  }
  if (pos >= d.size() || !std::isdigit(d[pos])) return false;
  value = 0;
  while (pos < d.size() && std::isdigit(d[pos])) value = value * 10 + (d[pos++] - '0');
  return true;
}
}  // namespace

bool ParsePnm(const Bytes& d, Pnm& out) {
  if (d.size() < 3 || d[0] != 'P') return false;
  char kind = static_cast<char>(d[1]);
  std::size_t pos = 2;
  if (!Token(d, pos, out.width) || !Token(d, pos, out.height)) return false;
  out.maxval = 1;
  if (kind != '4' && !Token(d, pos, out.maxval)) return false;
  ++pos;  // the single white space after the header
  std::size_t w = static_cast<std::size_t>(out.width), h = static_cast<std::size_t>(out.height);
  if (kind == '4') {
    out.channels = 1;
    std::size_t rowBytes = (w + 7) / 8;
    if (pos + rowBytes * h > d.size()) return false;
    out.samples.assign(w * h, 0);
    for (std::size_t y = 0; y < h; ++y)
      for (std::size_t x = 0; x < w; ++x)
        out.samples[y * w + x] = (d[pos + y * rowBytes + x / 8] >> (7 - x % 8)) & 1;
    return true;
  }
  out.channels = kind == '5' ? 1 : kind == '6' ? 3 : 0;
  if (!out.channels || out.maxval > 255) return false;
  std::size_t n = w * h * static_cast<std::size_t>(out.channels);
  if (pos + n > d.size()) return false;
  out.samples.assign(d.begin() + static_cast<std::ptrdiff_t>(pos), d.begin() + static_cast<std::ptrdiff_t>(pos + n));
  return true;
}

std::vector<Sample> Samples() {
  std::vector<Sample> v;
  fs::path dir = fs::path(kSourceDir) / "samples";
  if (!fs::exists(dir)) return v;
  std::vector<fs::path> lists;
  for (const auto& e : fs::directory_iterator(dir))
    if (e.path().extension() == ".list") lists.push_back(e.path());
  std::sort(lists.begin(), lists.end());
  for (const fs::path& list : lists) {
    std::ifstream in(list);
    std::string line;
    while (std::getline(in, line)) {
      std::istringstream words(line);
      std::string src, dst, word;
      if (!(words >> src >> dst) || src[0] == '#') continue;
      Sample sample{(dir / src).string(), dst, {}, {}};
      while (words >> word) {
        std::size_t eq = word.find('=');
        if (eq == std::string::npos) continue;
        if (word.compare(0, eq, "bad") == 0)
          sample.bad.push_back(word.substr(eq + 1));
        else
          sample.options[word.substr(0, eq)] = word.substr(eq + 1);
      }
      v.push_back(sample);
    }
  }
  return v;
}

Pnm DecodeWith(const std::string& tool, const std::string& path) {
  Pnm pnm;
  const RunResult r = Run(tool + " " + Quote(path));
  EXPECT_EQ(r.status, 0) << tool << " " << path << ": " << r.err;
  EXPECT_TRUE(ParsePnm(ToBytes(r.out), pnm)) << tool << " " << path << " gave no picture";
  return pnm;
}

fs::path RealWorldDir() {
  if (const char* dir = std::getenv("PIXMISC_REALWORLD_DIR")) return dir;
  return fs::path(kSourceDir).parent_path() / "shared" / "realworld";
}

std::string RealWorldFile(const std::string& name) {
  const fs::path p = RealWorldDir() / name;
  return fs::exists(p) ? p.string() : std::string();
}

Bytes TakeBlock(unsigned char* block, int size) {
  Bytes b;
  if (block && size > 0) b.assign(block, block + size);
  std::free(block);
  return b;
}

}  // namespace pixtest
