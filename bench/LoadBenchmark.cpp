#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

#include "corekit/intelhex/FastHexDecoder.h"
#include "image/ChipImageByteData.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "util/Crc32.h"

// What loading an image is made of, in one process, with the file in the page cache.

namespace {

void DecodeRecord(benchmark::State& state) {
    const Bytes data = SampleBytes(static_cast<unsigned int>(state.range(0)), 1);
    // A decoder may read ahead within the text, never behind it.
    const std::string text = HexRecord(0, 0x1234, data) + HexRecord(0, 0x1244, data);
    unsigned char out[256];
    FastHexRecord record{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(DecodeRecordFast(text.data(), text.size(), record, out));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DecodeRecord)->Arg(16)->Arg(32)->Arg(255);

void LoadDense(benchmark::State& state) {
    const CTempDir folder;
    const auto size = static_cast<unsigned int>(state.range(0));
    const std::string file = folder.Write("dense.hex", IntelHexText({{0, SampleBytes(size, 1)}}));
    for (auto _ : state) {
        CChipImageByteData image("FIRMWARE", "", "");
        benchmark::DoNotOptimize(image.LoadFromHexFile(file.c_str(), true, false));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(LoadDense)->Arg(64 << 10)->Arg(1 << 20)->Unit(benchmark::kMicrosecond);

// Ranges of 16 bytes with gaps between them, in the order of their addresses or in none.
void LoadSparse(benchmark::State& state) {
    std::vector<CSampleRange> ranges;
    for (unsigned int i = 0; i < static_cast<unsigned int>(state.range(0)); ++i) {
        ranges.push_back({i * 48, SampleBytes(16, i)});
    }
    if (state.range(1) != 0) {
        std::shuffle(ranges.begin(), ranges.end(), std::mt19937(1));
    }
    const CTempDir folder;
    const std::string file = folder.Write("sparse.hex", IntelHexText(ranges));
    for (auto _ : state) {
        CChipImageByteData image("FIRMWARE", "", "");
        benchmark::DoNotOptimize(image.LoadFromHexFile(file.c_str(), true, false));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(LoadSparse)
    ->ArgNames({"ranges", "shuffled"})
    ->Args({25000, 0})
    ->Args({100000, 0})
    ->Args({25000, 1})
    ->Args({100000, 1})
    ->Unit(benchmark::kMillisecond);

// The question in list order, as a caller asks it; the loader itself asks a map of addresses first.
void CheckOverlap(benchmark::State& state) {
    CChipImageByteData image("FIRMWARE", "", "");
    for (unsigned int i = 0; i < static_cast<unsigned int>(state.range(0)); ++i) {
        CByteBuffer range(16, 0x5A);
        range.SetBaseAddress(i * 48);
        image.AddRange(range);
    }
    unsigned int where = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(image.Overlaps(0xF0000000, 16, &where));
    }
}
BENCHMARK(CheckOverlap)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

void Crc(benchmark::State& state) {
    const Bytes data = SampleBytes(static_cast<unsigned int>(state.range(0)), 1);
    make_crc_table();
    for (auto _ : state) {
        benchmark::DoNotOptimize(crc(data.data(), static_cast<unsigned int>(data.size())));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Crc)->Arg(251)->Arg(1 << 20);

}  // namespace
