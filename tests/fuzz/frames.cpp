// SPDX-License-Identifier: Apache-2.0
// Everything that a peer may send to another: messages, the pieces of its stream, the items in them.
//
// The input is a series of steps: one byte that says what, two bytes of length, and so many bytes. Where those bytes
// hold sixteen '@', they get the uuid of the agent that stands at this end.
#include "fuzz.h"

#include "core.h"
#include "network.h"

#include <thread>
#include <unistd.h>

using namespace qny;

// In place of the library's: nobody is called. Connections that come and go would take most of the time.
extern "C" int zmq_connect(void*, const char*)
{
    return 0;
}
extern "C" int zmq_socket_monitor(void*, const char*, int)
{
    return -1;
}

namespace {

enum class Step : uint8_t
{
    Message, // as it comes from a stranger
    OfLink, // the first byte is the type, the rest the payload, under the header of the peer whose link is open
    Piece, // the next piece of its stream
    Item, // one item: the first byte is the kind; its length and number are right
    Count
};

constexpr size_t largestItem = 64 * 1024;
constexpr std::string_view ourselves = "@@@@@@@@@@@@@@@@";

void touch(const void* bytes, size_t size)
{
    volatile uint8_t seen = 0;
    for (size_t i = 0; i < size; ++i) {
        seen = static_cast<const uint8_t*>(bytes)[i];
    }
    (void)seen;
}

void touch(const char* text)
{
    touch(text, text ? std::strlen(text) : 0);
}

void onPublication(const qny_publication_t* publication, void*)
{
    touch(publication->value, publication->size);
    touch(publication->agent_name);
    touch(publication->output);
}

void onInput(qny_io_kind_t, const char* name, qny_value_type_t, void* value, size_t size, void*)
{
    touch(name);
    touch(value, size);
}

void onService(const char* name, const char* uuid, const char* service, qny_service_arg_t* first, size_t count,
    const char* token, void*)
{
    touch(name);
    touch(uuid);
    touch(service);
    touch(token);
    fuzz::expect(qny_service_args_count(first) == count, "a call has as many arguments as it says");
    for (const qny_service_arg_t* each = first; each; each = each->next) {
        if (each->type == QNY_STRING_T) {
            touch(each->c, each->size);
        } else if (each->type == QNY_DATA_T) {
            touch(each->data, each->size);
        }
    }
}

void onAgent(qny_agent_event_t event, const qny_agent_info_t* agent, void*)
{
    touch(agent->name);
    touch(agent->definition);
    touch(agent->executable);
    for (size_t i = 0; i < agent->arguments_count; ++i) {
        touch(agent->arguments[i]);
    }
    if (event == QNY_AGENT_ENTERED) {
        qny_monitor_add(agent->uuid, onPublication, nullptr);
    } else if (event == QNY_AGENT_EXITED) {
        qny_monitor_remove(agent->uuid);
    }
}

// This end: a network without its threads, so that what arrives is handed to it here, and delivered when this says so.
class Station
{
public:
    Station()
        : m_core(Core::instance())
    {
        qny_log_set_handler([](qny_log_level_t, const char*, void*) { }, nullptr);
        // The library then takes this thread for its callback thread, and starts none.
        m_core.dispatcher.m_thread = std::thread([] { pause(); });
        m_core.dispatcher.m_threadId = std::this_thread::get_id();
        qny_name_set("ours");
        for (int type = QNY_IMPULSE_T; type <= QNY_DATA_T; ++type) {
            const std::string name(1, static_cast<char>('0' + type));
            qny_output_create(name.c_str(), static_cast<qny_value_type_t>(type), nullptr, 0);
            qny_input_create(name.c_str(), static_cast<qny_value_type_t>(type), nullptr, 0);
            qny_observe_input(name.c_str(), onInput, nullptr);
            qny_observe_input_publications(name.c_str(), onPublication, nullptr);
            qny_mapping_add(name.c_str(), "a", "o");
        }
        qny_service_init("s", onService, nullptr);
        qny_service_arg_add("s", "first", QNY_STRING_T);
        qny_observe_agents(onAgent, nullptr);
        qny_observe_stop_requests([](const char* name, const char* uuid, void*) { touch(name), touch(uuid); }, nullptr);
        qny_options_t options;
        qny_options_init(&options);
        options.device = "lo";
        options.multicast = false;
        options.max_message_bytes = largestItem;
        fuzz::expect(qny_start(&options) == QNY_SUCCESS, "the network can be joined on the loopback device");
        m_network = m_core.network;
        m_network->stop();
        m_network->m_inbox = zmq::socket_t(m_network->m_context, zmq::socket_type::router);
        m_network->m_door = std::make_unique<Doorkeeper>(m_network->m_context, m_network->m_inbox);
        m_uuid = m_core.defaultAgent()->uuid;
        deliver();
    }

    void open()
    {
        Peer peer;
        peer.maxMessageBytes = largestItem;
        peer.hostName = "elsewhere";
        peer.program = std::make_shared<const Program>("/bin/true");
        const wire::Header header {
            .type = wire::MessageType::Hello, .port = 9, .sender = sender(), .senderSession = 1
        };
        m_network->receiveHello(header, helloPayload(peer), { sender(), "127.0.0.1", 9, nullptr });
        say(wire::MessageType::State, std::string(3 * sizeof(uint64_t), '\0'));
        fuzz::expect(link() && link()->isOpen(), "a peer that says hello gets a link");
    }

    void take(Step step, std::string_view bytes)
    {
        std::string own(bytes);
        for (size_t at = own.find(ourselves); at != std::string::npos; at = own.find(ourselves, at + 16)) {
            own.replace(at, m_uuid.size(), reinterpret_cast<const char*>(m_uuid.data()), m_uuid.size());
        }
        switch (step) {
        case Step::Message:
            receive(own);
            break;
        case Step::OfLink:
            if (!own.empty()) {
                say(static_cast<wire::MessageType>(own.front()), own.substr(1));
            }
            break;
        case Step::Piece:
            piece(own);
            break;
        case Step::Item:
            if (!own.empty()) {
                std::string item;
                {
                    wire::Item written(item, static_cast<wire::ItemKind>(own.front()));
                    written->bytes(std::string_view(own).substr(1));
                }
                piece(item);
            }
            break;
        case Step::Count:
            break;
        }
        check();
        deliver();
    }

    // Whatever it did, nothing of it may stay.
    void close()
    {
        if (Link* const open = link()) {
            const Lock lock(m_core.mutex);
            m_core.peerDown(open->peer(), true);
            renew(*open);
        }
        deliver();
        fuzz::expect(m_core.peers.empty(), "no peer stays");
        fuzz::expect(m_core.owners.size() == 1 && m_core.announced.size() == 1, "no agent of others stays");
        fuzz::expect(m_core.monitors.empty(), "no monitor stays");
        fuzz::expect(m_core.feeds.empty() && m_core.feedsById.empty(), "no mapping is fed any more");
        for (const auto& output : m_core.defaultAgent()->outputs) {
            fuzz::expect(output->listeners.empty(), "nobody listens any more");
        }
    }

private:
    static Uuid sender()
    {
        Uuid uuid;
        uuid.fill('P');
        return uuid;
    }

    Link* link() const
    {
        const auto it = m_network->m_links.find(sender());
        return it == m_network->m_links.end() ? nullptr : it->second.get();
    }

    // As a new one, without the time that new sockets take.
    static void renew(Link& old)
    {
        old.theirSession = 0;
        old.acknowledged = old.readyReceived = old.readyAcknowledged = old.resendWanted = false;
        old.received = old.receivedBytes = old.receivedBytesTold = 0;
        old.renewalSince = 0;
        old.partial = {};
        old.m_sent.clear();
        old.m_next = old.m_inFlight = 0;
        old.m_lastNumber = old.m_theirReceived = 0;
        const auto peer = std::make_shared<Peer>();
        peer->uuid = old.m_peer->uuid;
        peer->uuidText = old.m_peer->uuidText;
        old.m_peer = peer;
    }

    void deliver()
    {
        Lock lock(m_core.mutex);
        while (!m_core.dispatcher.m_queue.empty()) {
            m_core.dispatcher.runFirst(lock);
        }
    }

    void receive(std::string_view bytes) { m_network->receiveMessage(std::make_shared<zmq::message_t>(bytes), -1); }

    void say(wire::MessageType type, std::string_view payload)
    {
        std::string message;
        wire::write(message,
            { .type = type,
                .port = 9,
                .sender = sender(),
                .senderSession = 1,
                .receiverSession = link() ? link()->session : 0 });
        message += payload;
        receive(message);
    }

    void piece(std::string_view bytes)
    {
        std::string payload;
        wire::Writer writer(payload);
        writer.number(link() ? link()->received + 1 : uint64_t { 1 });
        writer.bytes(bytes);
        say(wire::MessageType::Data, payload);
    }

    void check()
    {
        const Link* const open = link();
        if (!open) {
            return;
        }
        const Lock lock(m_core.mutex);
        fuzz::expect(open->partial.size() <= largestItem + wire::itemSlackBytes, "an unfinished item has a bound");
        fuzz::expect(open->peer()->agents->size() <= wire::maxAgentsPerPeer, "a peer's agents have a bound");
        fuzz::expect(
            open->peer()->subscriptions.size() <= wire::maxSubscriptionsPerPeer, "its subscriptions have a bound");
        for (const auto& [uuid, agent] : *open->peer()->agents) {
            fuzz::expect(nameProblem(agent->name, true).empty(), "an agent has a name");
            fuzz::expect(uuid != m_uuid, "nobody takes our place");
        }
    }

    Core& m_core;
    Network* m_network = nullptr;
    Uuid m_uuid {};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static auto* const station = new Station; // never ended: its library's threads run on
    station->open();
    fuzz::Input input(data, size);
    while (!input.isEmpty()) {
        const auto step = static_cast<Step>(input.number<uint8_t>() % static_cast<uint8_t>(Step::Count));
        station->take(step, input.text16());
    }
    station->close();
    return 0;
}
