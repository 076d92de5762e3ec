#include "containers_util.h"

#include <cstdlib>

namespace ctest {

int CallFile(pix::ConverterFn fn, const std::string& source, const std::string& target, int arg1, int arg2) {
  pix::ConvertCall c;
  c.source = source.c_str();
  c.target = target.c_str();
  c.arg1 = arg1;
  c.arg2 = arg2;
  return fn(c);
}

Bytes CallMemory(pix::ConverterFn fn, const std::string& source, int arg1, int* result) {
  pix::ConvertCall c;
  c.source = source.c_str();
  c.arg1 = arg1;
  unsigned char* block = nullptr;
  c.out = &block;
  const int n = fn(c);
  if (result) *result = n;
  if (n <= 0) {
    EXPECT_EQ(block, nullptr);
    return {};
  }
  return pixtest::TakeBlock(block, n);
}

Bytes MakePicture(const pixtest::Scratch& s, const std::string& format, int w, int h, int seed) {
  const std::string path = s.path("pic_" + std::to_string(seed) + "." + format);
  const std::string script =
      "import random,sys\n"
      "from PIL import Image\n"
      "fmt,w,h,seed,path=sys.argv[1],int(sys.argv[2]),int(sys.argv[3]),int(sys.argv[4]),sys.argv[5]\n"
      "random.seed(seed)\n"
      "im=Image.new('RGB',(w,h))\n"
      "im.putdata([(random.randrange(256),random.randrange(0,256,51),(x*7)%256) for x in range(w*h)])\n"
      "if fmt!='PNG': im=im.quantize(colors=200)\n"
      "im.save(path,fmt)\n";
  const std::string scriptPath = s.path("make_picture.py");
  pixtest::WriteFile(scriptPath, script);
  const auto r = pixtest::Run(std::string(pixtest::kPython) + " " + pixtest::Quote(scriptPath) + " " + format + " " +
                              std::to_string(w) + " " + std::to_string(h) + " " + std::to_string(seed) + " " +
                              pixtest::Quote(path));
  EXPECT_EQ(r.status, 0) << r.err;
  return pixtest::ReadFile(path);
}

Bytes Filler(std::size_t n, int seed) {
  Bytes b(n);
  std::uint32_t x = 2463534242u + static_cast<std::uint32_t>(seed);
  for (auto& v : b) {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    v = static_cast<std::uint8_t>('a' + x % 20);  // lower-case letters a..t only
  }
  return b;
}

void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }
void Append(Bytes& to, const std::string& more) { to.insert(to.end(), more.begin(), more.end()); }
void PutLe(Bytes& to, std::uint32_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) to.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}


}  // namespace ctest
