// Throughput of an smt2 stream paced the way a player paces it: one send in flight, the next one
// issued when the previous has completed, to a receiver that reads as fast as it can.
#include <miscUtils/IOEventLoopThread.h>
#include <smt2/AudioReceiver.h>
#include <smt2/AudioSender.h>
#include <smt2/BufferPool.h>
#include <smt2/UnixClientSocketChannel.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

class Stream
{
public:
    Stream()
    {
        char pattern[] = "/tmp/smt2bench.XXXXXX";
        if (mkdtemp(pattern))
            m_dir = pattern;
        m_path = m_dir + "/bench.sock";
        m_receiver.onAudioFrame([this](const smt2::AudioFrame& frame) {
            m_received.fetch_add(static_cast<std::size_t>(frame.data.size()),
                                 std::memory_order_relaxed);
        });
        m_listening = m_receiver.listen(m_path) == smt2::ErrorID::NoError;
        m_channel.setSocketAddress(m_path);
        m_channel.setSendBufferSize(131072); // what the module sets
        m_sender.setTransportChannel(m_channel);
    }
    ~Stream()
    {
        m_receiver.close();
        ::rmdir(m_dir.c_str());
    }

    bool connect() { return m_listening && m_sender.connect().get() == smt2::ErrorID::NoError; }
    smt2::AudioSender& sender() { return m_sender; }
    std::size_t received() const { return m_received.load(std::memory_order_relaxed); }

private:
    std::string m_dir;
    std::string m_path;
    bool m_listening = false;
    std::atomic<std::size_t> m_received{0};
    miscUtils::IOEventLoopThread m_receiverLoop{2, "bench_rx"};
    miscUtils::IOEventLoopThread m_senderLoop{1000, "bench_tx"};
    smt2::BufferPool m_pool;
    smt2::UnixClientSocketChannel m_channel{m_senderLoop};
    smt2::AudioSender m_sender{m_pool};
    smt2::AudioReceiver m_receiver{m_receiverLoop};
};

void OneSendInFlight(benchmark::State& state)
{
    const auto sendSize = static_cast<std::size_t>(state.range(0));
    Stream stream;
    if (!stream.connect()) {
        state.SkipWithError("could not set up the smt2 stream");
        return;
    }
    std::vector<std::uint8_t> block(sendSize);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<std::uint8_t>(i);
    for (auto _ : state) {
        const smt2::ErrorID result = stream.sender().sendAudioData(0, 0, block).get();
        if (result != smt2::ErrorID::NoError) {
            state.SkipWithError(smt2::toString(result).c_str());
            break;
        }
    }
    // Everything sent has been read once the flush is acknowledged.
    stream.sender().sendFlush().get();
    const double bytes = static_cast<double>(state.iterations()) * static_cast<double>(sendSize);
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["MB/s"] = benchmark::Counter(bytes / 1e6, benchmark::Counter::kIsRate);
    state.counters["received_MB"] = static_cast<double>(stream.received()) / 1e6;
}

} // namespace

BENCHMARK(OneSendInFlight)->Arg(64 * 1024)->Arg(4 * 1024)->Arg(1024 * 1024)->UseRealTime();

BENCHMARK_MAIN();
