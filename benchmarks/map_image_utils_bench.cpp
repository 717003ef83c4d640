// Scaling, scrolling and turning of whole images, beside the literal models and bare passes.
#include <benchmark/benchmark.h>

#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;

ImagePtr probabilities(std::int64_t side) {
  korrin_test::RandomInputs random(42);
  return korrin_test::randomFloatImage(random, static_cast<int>(side), static_cast<int>(side));
}

ImagePtr levels(std::int64_t side) {
  korrin_test::RandomInputs random(42);
  ImagePtr image =
      Brin::makeImage(cvSize(static_cast<int>(side), static_cast<int>(side)), IPL_DEPTH_8U, 1);
  for (int i = 0; i < image->imageSize; ++i) {
    image->imageData[i] = static_cast<char>(random.bits() & 255);
  }
  return image;
}

OccupancyMap twoLayers(std::int64_t side) {
  OccupancyMap map(static_cast<int>(side), static_cast<int>(side), 0.05f, true);
  cvCopy(probabilities(side).get(), map.image, nullptr);
  cvCopy(probabilities(side).get(), map.secondImage, nullptr);
  return map;
}

void sides(benchmark::internal::Benchmark* b) {
  b->Arg(200)->Arg(2000)->Unit(benchmark::kMicrosecond);
}

// Scaling, with a factor that takes nothing away and so can be repeated.

using ScaleImage = void (*)(IplImage*, float);

void scaleBytes(benchmark::State& state, ScaleImage scale) {
  const ImagePtr image = levels(state.range(0));
  for (auto _ : state) {
    scale(image.get(), -1.0f);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * image->imageSize);
}
// Reads and writes every byte once.
void passOverBytes(IplImage* image, float factor) {
  const auto mask = static_cast<std::uint8_t>(static_cast<int>(factor));
  const int width = image->width;
  for (int y = 0; y < image->height; ++y) {
    auto* row = Brin::imageRow<std::uint8_t>(*image, y);
    for (int x = 0; x < width; ++x) row[x] = static_cast<std::uint8_t>(row[x] ^ mask);
  }
}
BENCHMARK_CAPTURE(scaleBytes, library, Brin::imgMultiplyProb8)->Apply(sides);
BENCHMARK_CAPTURE(scaleBytes, model, korrin_model::imgMultiplyProb8)->Apply(sides);
BENCHMARK_CAPTURE(scaleBytes, barePass, passOverBytes)->Apply(sides);

void scaleFloats(benchmark::State& state, ScaleImage scale) {
  const ImagePtr image = probabilities(state.range(0));
  for (auto _ : state) {
    scale(image.get(), -1.0f);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * image->imageSize);
}
// Reads and writes every float once.
void passOverFloats(IplImage* image, float factor) {
  for (int y = 0; y < image->height; ++y) {
    float* row = Brin::imageRow<float>(*image, y);
    for (int x = 0; x < image->width; ++x) row[x] = row[x] * factor;
  }
}
BENCHMARK_CAPTURE(scaleFloats, library, Brin::imgMultiplyProb32F)->Apply(sides);
BENCHMARK_CAPTURE(scaleFloats, model, korrin_model::imgMultiplyProb32F)->Apply(sides);
BENCHMARK_CAPTURE(scaleFloats, barePass, passOverFloats)->Apply(sides);

using ScaleMap = void (*)(OccupancyMap&, float);

void scaleMap(benchmark::State& state, ScaleMap scale) {
  OccupancyMap map = twoLayers(state.range(0));
  for (auto _ : state) {
    scale(map, -1.0f);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * map.image->imageSize);
}
void passOverMap(OccupancyMap& map, float factor) { passOverFloats(map.image, factor); }
BENCHMARK_CAPTURE(scaleMap, library, Brin::occMapMultiplyProb)->Apply(sides);
BENCHMARK_CAPTURE(scaleMap, model, korrin_model::occMapMultiplyProb)->Apply(sides);
BENCHMARK_CAPTURE(scaleMap, barePass, passOverMap)->Apply(sides);

// Scrolling by whole cells

void scroll(benchmark::State& state) {
  const OccupancyMap map = twoLayers(state.range(0));
  OccupancyMap out = map;
  for (auto _ : state) {
    Brin::scrollOccMap(map, out, Brin::Point2Di(3, -2));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(scroll)->Name("scrollOccMap/library")->Apply(sides)->UseRealTime();

void scrollInPlace(benchmark::State& state) {
  OccupancyMap map = twoLayers(state.range(0));
  int sign = 1;
  for (auto _ : state) {
    Brin::scrollOccMapInPlace(map, Brin::Point2Di(3 * sign, -2 * sign));
    sign = -sign;
    benchmark::ClobberMemory();
  }
}
BENCHMARK(scrollInPlace)->Name("scrollOccMapInPlace/library")->Apply(sides)->UseRealTime();

// What a scroll costs when OpenCV warps the two layers.
void warpTwice(benchmark::State& state) {
  const OccupancyMap map = twoLayers(state.range(0));
  OccupancyMap out = map;
  for (auto _ : state) {
    korrin_model::warpAffine(map.image, out.image, 1, 0, 3, 0, 1, -2);
    korrin_model::warpAffine(map.secondImage, out.secondImage, 1, 0, 3, 0, 1, -2);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(warpTwice)->Name("scrollOccMap/cvWarpAffineTwice")->Apply(sides)->UseRealTime();

void merge(benchmark::State& state) {
  const ImagePtr a = probabilities(state.range(0));
  const ImagePtr b = probabilities(state.range(0));
  const ImagePtr owned = korrin_test::copyOf(*a);
  IplImage* out = owned.get();
  for (auto _ : state) {
    Brin::mergeImages2({{a.get(), 0.1f, 0.05f, 0}, {b.get(), -0.1f, 0.2f, 0}}, &out, 0.05f, 0.0f);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(merge)->Name("mergeImages2/library")->Apply(sides)->UseRealTime();

using Turn = void (*)(const IplImage*, IplImage*);

void turn(benchmark::State& state, Turn rotate) {
  const ImagePtr image = probabilities(state.range(0));
  const ImagePtr out = korrin_test::copyOf(*image);
  for (auto _ : state) {
    rotate(image.get(), out.get());
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(turn, library, Brin::rotateIplImage90_2)->Apply(sides);
BENCHMARK_CAPTURE(turn, model, korrin_model::rotateIplImage90_2)->Apply(sides);

}  // namespace
