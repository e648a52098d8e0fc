// Who records and plays on a sound server that speaks libpulse and nothing else, and its devices.
// Owned by the machine; made, asked and destroyed on the monitor's queue. What the server tells
// comes on the context's thread and hops over as values.
#pragma once

#include "system/Machine.h"
#include "system/linux/clients/ClientIdentity.h"
#include "system/linux/pulse/PulseContext.h"
#include "system/linux/pulse/PulseModel.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {

/// All from memory. A process here is a client of the server that has a stream; what it says of
/// itself is believed only as far as the kernel bears it out.
class PulseSources final : public AudioReadings, public PulseContext::Listener {
public:
    /// Object ids of clients are this number plus 1, 2, 3 …; of devices they begin at the second.
    static constexpr std::uint32_t firstObjectID = 0x50000000;
    static constexpr std::uint32_t firstDeviceID = 0x51000000;

    /// `socket` is the path of the server's socket: the connections to it are its clients'.
    PulseSources(PulseContext& pulse, SerialQueue& queue, SocketFacts& facts, ProcessNaming& naming,
                 std::string socket);
    ~PulseSources() override;

    std::vector<AudioProcess> processes() override { return processes_; }
    std::vector<AudioDeviceInfo> devices() override { return devices_; }
    /// Whether a server answers and has said all; the lists are empty without one.
    bool isConnected() const { return isConnected_; }
    /// Called after each change of either list or of that; a second call replaces the first
    /// callback.
    void onChange(std::function<void()> callback) { onChange_ = std::move(callback); }
    /// Called when another client has ended this program's connection; a second call replaces the
    /// first callback.
    void onSightTaken(std::function<void()> callback) { onSightTaken_ = std::move(callback); }

private:
    struct Undecided {
        AudioProcess process;
        AppRef app; ///< an app that can't be named
    };
    using Hop = std::function<void(PulseSources&)>;

    void connected() override;
    void disconnected() override;
    void serverGone() override;
    void changed(unsigned facility, unsigned type, std::uint32_t index) override;
    void complete() override;

    void hop(Hop action);
    void storeServer(const pa_server_info& info);
    void clientCame(std::uint32_t index, bool isNew);
    void clientChanged(unsigned type, std::uint32_t index);
    void clientSpoke(const pa_client_info& info, bool mayBeSilent);
    void storeListed(const pa_client_info& info);
    void storeClient(const pa_client_info& info);
    void storeStreamer(const pa_client_info& info);
    void storeSink(const pa_sink_info& info);
    void storeSource(const pa_source_info& info);
    void storeRecording(const pa_source_output_info& info);
    void storePlayback(const pa_sink_input_info& info);
    template <typename Info>
    PulseModel::Stream streamFrom(const Info& info, std::uint32_t device);

    void update(PulseModel model);
    void forget();
    void setConnected(bool connected);
    std::optional<pid_t> findServer();
    std::uint32_t deviceIDOf(bool isSource, std::uint32_t index);

    PulseContext& pulse_;
    SerialQueue& queue_;
    /// What was posted holds this weakly.
    std::shared_ptr<PulseSources*> self_ = std::make_shared<PulseSources*>(this);

    // Of the context's thread.
    PulseModel model_;
    PulseModel handedOver_;
    std::map<std::uint32_t, bool> clients_; ///< whether it has said who it is
    bool isFirstList_ = true;               ///< of this connection
    std::optional<std::uint32_t> cookie_;   ///< of the server that was there last
    bool isNew_ = false;                    ///< connected, and not all was said

    // Of the queue's.
    SocketFacts& facts_;
    std::optional<pid_t> server_;
    ProcessNaming& naming_;
    ClientIdentity identity_;
    std::string socket_;
    std::function<void()> onChange_;
    std::function<void()> onSightTaken_;
    PulseModel latest_;
    /// Clients that can't be told apart yet, by the server's index.
    std::map<std::uint32_t, Undecided> undecided_;
    Subscription nextLook_;                            ///< at those, and at who may be told later
    std::map<std::uint32_t, std::uint32_t> objectIDs_; ///< of clients, by the server's index
    std::uint32_t lastObjectID_ = firstObjectID;
    std::map<std::pair<bool, std::uint32_t>, std::uint32_t> deviceIDs_; ///< by "is a source", index
    std::uint32_t lastDeviceID_ = firstDeviceID;
    std::vector<AudioProcess> processes_;
    std::vector<AudioDeviceInfo> devices_;
    bool isConnected_ = false;
};

} // namespace velmoran
