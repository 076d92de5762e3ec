// Previews: every extension of the two preview lists, given a valid source,
// returns a block that equals what the same converter writes in file mode;
// and the entries hold up when many threads call them at once.
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "common/paths.h"
#include "entry/previews.h"
#include "entry/routes.h"
#include "pixmisc.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;
using pixtest::Bytes;

// Sample sources (from samples/*.list) by the converter their route runs.
std::map<std::string, std::vector<std::string>> SamplesByConverter() {
  std::map<std::string, std::vector<std::string>> m;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    const char* path = sample.source.c_str();
    pix::RouteMatch r = pix::LookUpRoute(path, sample.target.c_str());
    if (r.kind != pix::RouteMatch::Row) continue;
    std::string name = pix::ChooseConverter(*r.route, path).name;
    m[name].push_back(sample.source);
  }
  return m;
}

// Converters that take the kind of source from its extension: a sample of
// theirs serves only its own extension.
const std::set<std::string> kKindByExtension = {"PC1toIFF", "ZxSnapshotToTiff", "ZxScreenToTiff"};

// A sample for a preview entry: one its converter takes through a route, of
// the entry's own extension where there is one, otherwise (for converters
// that do not go by the extension) of another, copied under this one.
std::string SampleFor(const pix::PreviewEntry& e, const std::map<std::string, std::vector<std::string>>& samples) {
  if (kKindByExtension.count(e.converterName)) {
    // any sample of the kind will do, whichever converter its route runs
    for (const auto& [name, paths] : samples)
      for (const std::string& p : paths)
        if (kKindByExtension.count(name) && pix::ExtMatches(pix::Split(p.c_str()).ext, e.ext, e.compared)) return p;
    return {};
  }
  auto it = samples.find(e.converterName);
  if (it == samples.end()) return {};
  for (const std::string& p : it->second)
    if (pix::ExtMatches(pix::Split(p.c_str()).ext, e.ext, e.compared)) return p;
  return kKindByExtension.count(e.converterName) ? std::string() : it->second.front();
}

// Copies a sample to DIR/in<ext>, with its side files (same stem, other
// extensions, such as the header file of an ".ibg").
std::string PlaceSample(const std::string& sample, const fs::path& dir, const std::string& ext) {
  fs::path from(sample);
  for (const auto& f : fs::directory_iterator(from.parent_path())) {
    if (f.path().stem() == from.stem() && f.path().extension() != from.extension())
      fs::copy_file(f.path(), dir / ("in" + f.path().extension().string()), fs::copy_options::overwrite_existing);
  }
  fs::path to = dir / ("in" + ext);
  fs::copy_file(from, to, fs::copy_options::overwrite_existing);
  return to.string();
}

// Kinds whose memory block differs from the file on purpose.
const std::set<std::string> kDeliberatelyDifferent = {
    "PC1toIFF",  // the memory-mode ILBM keeps its own size fields
    "BdfToXbm",  // memory-mode text separates its values with 0xE8
    "PsfToXbm",
};

TEST(Previews, SingleListBlocksMatchFileMode) {
  auto samples = SamplesByConverter();
  int checked = 0;
  std::vector<std::string> unsampled;
  for (const pix::PreviewEntry& e : pix::SingleList()) {
    std::string sample = SampleFor(e, samples);
    if (sample.empty()) {
      unsampled.push_back(e.ext);
      continue;
    }
    SCOPED_TRACE(std::string(e.ext) + " via " + e.converterName + " from " + sample);
    pixtest::Scratch s;
    std::string src = PlaceSample(sample, s.dir(), e.ext);
    unsigned char* block = nullptr;
    int n = seeMISC(src.c_str(), &block);
    Bytes mem = pixtest::TakeBlock(block, n);
    ASSERT_GT(n, 0);
    ASSERT_EQ(mem.size(), static_cast<std::size_t>(n));
    // the same converter in file mode
    fs::create_directories(s.dir() / "out");
    pix::ConvertCall call;
    call.source = src.c_str();
    std::string target = s.path("out/out.bin");
    call.target = target.c_str();
    call.arg1 = e.arg1;
    e.converter(call);
    std::vector<fs::path> written;
    for (const auto& f : fs::directory_iterator(s.dir() / "out")) written.push_back(f.path());
    ASSERT_GE(written.size(), 1u);
    if (!kDeliberatelyDifferent.count(e.converterName)) {
      bool same = false;
      for (const auto& w : written) same = same || pixtest::ReadFile(w.string()) == mem;
      EXPECT_TRUE(same) << "memory block differs from the file written";
    }
    ++checked;
  }
  std::string missing;
  for (const auto& u : unsampled) missing += u + " ";
  std::printf("single list: %d extensions checked; without a sample (converter not built): %s\n", checked,
              missing.c_str());
}

TEST(Previews, MultiListBlocksAreOneOfTheFiles) {
  auto samples = SamplesByConverter();
  int checked = 0;
  for (const pix::PreviewEntry& e : pix::MultiList()) {
    std::string sample = SampleFor(e, samples);
    if (sample.empty()) continue;
    SCOPED_TRACE(std::string(e.ext) + " via " + e.converterName + " from " + sample);
    pixtest::Scratch s;
    std::string src = PlaceSample(sample, s.dir(), e.ext);
    int found = 0;
    for (int index = 0; index <= 3; ++index) {
      // file mode with the same argument (a scanner ignores it, the Flash
      // extractor takes it as the character id)
      fs::path outDir = s.dir() / ("out" + std::to_string(index));
      fs::create_directories(outDir);
      pix::ConvertCall call;
      call.source = src.c_str();
      std::string target = (outDir / "out.bin").string();
      call.target = target.c_str();
      call.arg1 = index;
      e.converter(call);
      std::vector<Bytes> files;
      for (const auto& f : fs::directory_iterator(outDir)) files.push_back(pixtest::ReadFile(f.path().string()));
      unsigned char* block = nullptr;
      int n = seeMultiMISC(src.c_str(), index, &block);
      Bytes mem = pixtest::TakeBlock(block, n);
      if (n <= 0) continue;
      ++found;
      bool same = false;
      for (const Bytes& f : files) same = same || f == mem;
      EXPECT_TRUE(same) << "picture " << index << " is none of the files written";
    }
    EXPECT_GT(found, 0) << "no index gave a picture";
    ++checked;
  }
  std::printf("multi list: %d extensions checked\n", checked);
}

TEST(Previews, ListQuirks) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("a.pi1"), Bytes(32034, 0));
  pixtest::WriteFile(s.path("a.col"), Bytes(100, 0));
  pixtest::WriteFile(s.path("a.pix"), std::string("NOPE!"));
  unsigned char* block = reinterpret_cast<unsigned char*>(0x1);
  EXPECT_EQ(seeMISC(s.path("a.pi1").c_str(), &block), 0);  // ".pi1" is not in the preview list
  EXPECT_EQ(seeMultiMISC(s.path("a.col").c_str(), 1, &block), 0);  // ".collage" compared in full here
  EXPECT_EQ(seeMISC(s.path("a.pix").c_str(), &block), 0);  // no "PIX" signature
  EXPECT_EQ(seeMISC(s.path("a.unknown").c_str(), &block), 0);
  EXPECT_EQ(block, reinterpret_cast<unsigned char*>(0x1));
  EXPECT_STREQ(pix::SingleConverterName(s.path("a.pi1").c_str()), "");
  EXPECT_STREQ(pix::MultiConverterName(s.path("a.col").c_str()), "");
  EXPECT_STREQ(pix::MultiConverterName(s.path("a.collage").c_str()), "ThumbDbScan");
  EXPECT_STREQ(pix::SingleConverterName(s.path("a.z80").c_str()), "ZxSnapshotToTiff");
  EXPECT_STREQ(pix::SingleConverterName(s.path("a.zxs").c_str()), "ZxScreenToTiff");
  EXPECT_STREQ(pix::SingleConverterName(s.path("a.spx").c_str()), "");
  pixtest::WriteFile(s.path("f.pic"), std::string("\xFC\x31rest", 6));
  pixtest::WriteFile(s.path("p.pic"), std::string("\x0A\x05rest", 6));
  EXPECT_STREQ(pix::SingleConverterName(s.path("f.pic").c_str()), "PicToFits");
  EXPECT_STREQ(pix::SingleConverterName(s.path("p.pic").c_str()), "PicToPcx");
  pixtest::WriteFile(s.path("i.img"), std::string("IMxxx"));
  pixtest::WriteFile(s.path("j.img"), std::string("BMxxx"));
  EXPECT_STREQ(pix::SingleConverterName(s.path("i.img").c_str()), "ImgToPgm");
  EXPECT_STREQ(pix::SingleConverterName(s.path("j.img").c_str()), "ImgToBmp");
}

// Eight threads convert different samples at once, in memory and to files,
// many times; every result equals the one-thread result.
TEST(Previews, ConcurrentCallsGiveTheSingleThreadResults) {
  auto samples = SamplesByConverter();
  struct Job {
    std::string source, target;
    bool multi, route;
    int result = 0;
    Bytes block;
  };
  std::vector<Job> jobs;
  pixtest::Scratch s;
  for (const auto& [name, paths] : samples) {
    const std::string& path = paths.front();
    const char* single = pix::SingleConverterName(path.c_str());
    const char* multi = pix::MultiConverterName(path.c_str());
    if (*single) jobs.push_back({path, "", false, false, 0, {}});
    if (*multi) jobs.push_back({path, "", true, false, 0, {}});
  }
  // file-mode conversions through the route table, from the lists' targets
  for (const pixtest::Sample& sample : pixtest::Samples()) jobs.push_back({sample.source, sample.target, false, true, 0, {}});
  if (jobs.empty()) GTEST_SKIP() << "no samples yet";
  auto run = [&](Job& j, const std::string& outDir) {
    Job r = j;
    r.block.clear();
    unsigned char* block = nullptr;
    if (j.route) {
      fs::create_directories(outDir);
      r.result = pixMISC(j.source.c_str(), (outDir + "/" + j.target).c_str());
      std::vector<std::string> names;
      for (const auto& f : fs::directory_iterator(outDir)) names.push_back(f.path().filename().string());
      std::sort(names.begin(), names.end());
      for (const auto& n : names) {
        Bytes b = pixtest::ReadFile(outDir + "/" + n);
        r.block.insert(r.block.end(), n.begin(), n.end());
        r.block.insert(r.block.end(), b.begin(), b.end());
      }
      fs::remove_all(outDir);
    } else {
      r.result = j.multi ? seeMultiMISC(j.source.c_str(), 1, &block) : seeMISC(j.source.c_str(), &block);
      r.block = pixtest::TakeBlock(block, r.result);
    }
    return r;
  };
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    Job r = run(jobs[i], s.path("one-" + std::to_string(i)));
    jobs[i].result = r.result;
    jobs[i].block = r.block;
  }
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 6; ++round) {
        for (std::size_t k = 0; k < jobs.size(); ++k) {
          std::size_t i = (k + static_cast<std::size_t>(t) * 7 + static_cast<std::size_t>(round)) % jobs.size();
          const std::string name = "t" + std::to_string(t) + "-" + std::to_string(round) + "-" + std::to_string(k);
          Job r = run(jobs[i], s.path(name));
          // a FITS header carries the day of conversion: across midnight a
          // result differs from the first one, so it is compared with a fresh
          // run before it counts
          auto differs = [&](const Job& want) { return r.result != want.result || r.block != want.block; };
          if (differs(jobs[i]) && differs(run(jobs[i], s.path(name + "-again")))) {
            if (mismatches++ < 5)
              std::printf("mismatch: %s -> %s: %d vs %d, %zu vs %zu bytes\n", jobs[i].source.c_str(), jobs[i].target.c_str(), r.result,
                          jobs[i].result, r.block.size(), jobs[i].block.size());
          }
        }
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
