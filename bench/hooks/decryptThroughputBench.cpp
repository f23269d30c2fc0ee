// Decryption throughput through the library's hooks (sxm_decrypt_start / sxm_decrypt_process),
// in the block sizes the stream path uses: one segment is started, then decrypted in chunks of
// the given size, each chunk a multiple of 16 bytes as the library presents them.
//
// Figures: bytes_per_second (MB/s) per chunk size. The pass-through run measures the copy alone,
// for comparison; it runs last because that switch is process-wide and permanent.

#include <sxmlib.h>

#include <benchmark/benchmark.h>
#include <gcrypt.h>

#include <array>
#include <cstdint>
#include <vector>

namespace {

constexpr std::array<uint8_t, 16> kKey{0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                                       0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};

std::vector<uint8_t> pattern(std::size_t size)
{
    std::vector<uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(i * 31 + 7);
    return bytes;
}

void decryptChunks(benchmark::State& state, bool encrypted)
{
    const auto chunk = static_cast<std::size_t>(state.range(0));
    std::vector<uint8_t> input = pattern(chunk);
    std::vector<uint8_t> output(chunk);
    sxm_decryptStart start{encrypted ? kKey.data() : nullptr,
                           encrypted ? static_cast<uint32_t>(kKey.size()) : 0u, 0,
                           encrypted ? 1 : 0};
    const int started = sxm_decrypt_start(&start);
    if (encrypted && started != 1) {
        state.SkipWithError("sxm_decrypt_start failed");
        return;
    }
    for (auto _ : state) {
        // Decryption is in place, so the input changes every round; the cost does not.
        sxm_decryptProcess process{input.data(), static_cast<uint32_t>(chunk), output.data()};
        const int delivered = sxm_decrypt_process(&process);
        if (delivered != static_cast<int>(chunk)) {
            state.SkipWithError("sxm_decrypt_process delivered a short count");
            break;
        }
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    sxm_decrypt_done();
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(chunk));
}

void BM_DecryptAes128Cbc(benchmark::State& state)
{
    decryptChunks(state, true);
}

void BM_PassThroughCopy(benchmark::State& state)
{
    decryptChunks(state, false);
}

} // namespace

// 4 KiB is a typical network read; 64 KiB the largest block the play logic accepts at once;
// 256 KiB about a ten-second segment at 256 kbps.
BENCHMARK(BM_DecryptAes128Cbc)->Arg(4096)->Arg(65536)->Arg(262144);
BENCHMARK(BM_PassThroughCopy)->Arg(4096)->Arg(65536)->Arg(262144);

int main(int argc, char** argv)
{
    if (sxm_cr_init() != 1)
        return 1;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
