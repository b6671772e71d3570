// SPDX-License-Identifier: Apache-2.0
//
// A crowd of agents that come, publish and go: most of them agents of this process, some processes of their own, of
// which some are killed and some frozen for a while. Most have a name that never comes again; some have one of a few
// names of the sample plant. Two agents stay all the time. Before the crowd comes and after it has gone, passers-by
// come and go one after another, so that there is something to record. Says "crowd ARRIVED ALIVE" every second, and
// "rest" when all have come and gone. It lets them come when it reads "go", and ends when its standard input is closed.

#include "visitor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace soak {

namespace {

constexpr std::int64_t TICK_US = 20'000;
constexpr std::int64_t VISITOR_PERIOD_US = 100'000;
constexpr std::int64_t SECOND_US = 1'000'000;
// Longer than it takes the others to see a silent process gone.
constexpr std::int64_t FREEZE_US = (QNY_PRESENCE_BOUND_MS + 1'500) * std::int64_t(1'000);

struct Arguments
{
    std::string journal;
    std::string device = "lo";
    std::uint16_t port = 0;
    int arrivals = 100;
    int seconds = 10;
    int leastStayMs = 1'000;
    int mostStayMs = 5'000;
};

struct Regular
{
    const char* name;
    const char* family;
};
// As the sample plant's: the host has a place for them.
constexpr std::array<Regular, 4> REGULARS { {
    { "Pump A", "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0001" },
    { "Pump B", "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0001" },
    { "Tank", "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0002" },
    { "Valve", "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0003" },
} };

[[noreturn]] void refuse(const std::string& reason)
{
    std::fprintf(stderr, "qnyTestCrowd: %s\n", reason.c_str());
    std::exit(2);
}

Arguments parseArguments(int argc, char** argv)
{
    Arguments arguments;
    const auto number = [](const std::string& text) {
        int result = 0;
        const auto end = std::from_chars(text.data(), text.data() + text.size(), result);
        if (end.ec != std::errc() || *end.ptr != '\0' || result < 1) {
            refuse("\"" + text + "\" is no number from 1");
        }
        return result;
    };
    for (int index = 1; index + 1 < argc; index += 2) {
        const std::string option = argv[index];
        const std::string value = argv[index + 1];
        if (option == "--journal") {
            arguments.journal = value;
        } else if (option == "--port") {
            arguments.port = static_cast<std::uint16_t>(number(value));
        } else if (option == "--arrivals") {
            arguments.arrivals = number(value);
        } else if (option == "--seconds") {
            arguments.seconds = number(value);
        } else if (option == "--stay-ms") {
            arguments.mostStayMs = number(value);
            arguments.leastStayMs = std::max(1, arguments.mostStayMs / 5);
        } else {
            refuse("unknown option " + option);
        }
    }
    if (arguments.journal.empty() || argc % 2 == 0) {
        refuse("give --journal FILE [--port N] [--arrivals N] [--seconds N] [--stay-ms MOST]");
    }
    return arguments;
}

void joinNetwork(const Arguments& arguments)
{
    qny_options_t options;
    qny_options_init(&options);
    options.device = arguments.device.c_str();
    options.port = arguments.port;
    if (qny_start(&options) != QNY_SUCCESS) {
        refuse(qny_last_error());
    }
}

void sleepUntilNextTick()
{
    usleep(static_cast<useconds_t>(TICK_US - nowUs() % TICK_US));
}

// ---- guests: visitors with a process of their own -------------------------------------------------------------------

enum class Ending
{
    Leaves,
    IsKilled,
    IsFrozen // for a while, in the middle of its stay
};

struct Guest
{
    pid_t process = -1;
    std::string name;
    std::int32_t life = 0;
    Ending ending = Ending::Leaves;
    std::int64_t changeAtUs = 0; // when it is killed, frozen or thawed
    bool isFrozen = false;
};

struct Identity
{
    std::string name;
    std::string family;
    std::int32_t life = 0;
};

// In the child process: never returns.
[[noreturn]] void beGuest(const Arguments& arguments, const Identity& identity, std::int64_t untilUs)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL); // with the crowd
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    CrowdJournal journal;
    if (!journal.open(arguments.journal)) {
        std::_Exit(1);
    }
    {
        joinNetwork(arguments);
        Visitor visitor(journal, identity.name, identity.family, identity.life);
        std::int64_t nextUs = nowUs();
        while (nowUs() < untilUs) {
            if (const std::int64_t now = nowUs(); now >= nextUs) {
                nextUs = now + VISITOR_PERIOD_US;
                visitor.noteNext(now);
                journal.write();
                visitor.publishNext();
            }
            sleepUntilNextTick();
        }
    }
    qny_stop();
    std::_Exit(0);
}

// ---- the crowd ------------------------------------------------------------------------------------------------------

class Crowd
{
public:
    explicit Crowd(const Arguments& arguments)
        : _arguments(arguments)
    {
        if (!_journal.open(arguments.journal)) {
            refuse(arguments.journal + ": " + std::strerror(errno));
        }
        joinNetwork(arguments);
        for (const char* name : { "Steady one", "Steady two" }) {
            _stays.push_back({ std::make_unique<Visitor>(_journal, name, "", 0), INT64_MAX, 0 });
        }
    }

    void letCome() { _cameUs = nowUs(); }
    int arrived() const { return _arrived; }
    std::size_t alive() const { return _stays.size() - 2 + _guests.size(); }
    bool isOver() const { return _hasGone; }

    void tick()
    {
        const std::int64_t now = nowUs();
        while (_cameUs > 0 && _arrived < _arguments.arrivals
            && (now - _cameUs) * _arguments.arrivals >= _arrived * SECOND_US * _arguments.seconds) {
            admit(now);
        }
        _hasGone = _hasGone || (_arrived == _arguments.arrivals && alive() == 0);
        if ((_cameUs == 0 || _hasGone) && alive() == 0) {
            const std::string name = "Passer-by " + std::to_string(++_passersBy);
            _stays.push_back({ std::make_unique<Visitor>(_journal, name, "", 0), now + SECOND_US, now });
        }
        publish(now);
        for (auto stay = _stays.begin(); stay != _stays.end();) {
            if (now >= stay->untilUs) {
                _regulars.erase(stay->visitor->name());
                stay = _stays.erase(stay);
            } else {
                ++stay;
            }
        }
        for (auto guest = _guests.begin(); guest != _guests.end();) {
            guest = care(*guest, now) ? guest + 1 : _guests.erase(guest);
        }
    }

private:
    struct Stay
    {
        std::unique_ptr<Visitor> visitor;
        std::int64_t untilUs;
        std::int64_t nextUs;
    };

    Identity nextIdentity()
    {
        const Regular& regular = REGULARS[static_cast<std::size_t>(_arrived / 4) % REGULARS.size()];
        if (_arrived % 4 == 0 && _regulars.insert(regular.name).second) {
            return { regular.name, regular.family, ++_lives[regular.name] };
        }
        return { "Visitor " + std::to_string(_arrived), "", 0 };
    }

    void admit(std::int64_t now)
    {
        std::uniform_int_distribution<std::int64_t> stay(_arguments.leastStayMs, _arguments.mostStayMs);
        const Identity identity = nextIdentity();
        const std::int64_t untilUs = now + stay(_random) * 1'000;
        const int kind = _arrived++ % 50;
        if (kind == 19) {
            invite(identity, Ending::IsFrozen, now, untilUs);
        } else if (kind % 10 == 3) {
            invite(identity, Ending::Leaves, now, untilUs);
        } else if (kind % 10 == 7) {
            invite(identity, Ending::IsKilled, now, untilUs);
        } else {
            _stays.push_back(
                { std::make_unique<Visitor>(_journal, identity.name, identity.family, identity.life), untilUs, now });
        }
    }

    void invite(const Identity& identity, Ending ending, std::int64_t now, std::int64_t untilUs)
    {
        const std::int64_t lastUs = ending == Ending::Leaves ? untilUs
            : ending == Ending::IsKilled                     ? untilUs + 60 * SECOND_US
                                                             : untilUs + 2 * FREEZE_US;
        const pid_t process = fork();
        if (process == 0) {
            beGuest(_arguments, identity, lastUs);
        }
        if (process < 0) {
            refuse(std::string("fork: ") + std::strerror(errno));
        }
        const std::int64_t changeAtUs = ending == Ending::Leaves ? INT64_MAX
            : ending == Ending::IsKilled                         ? untilUs
                                                                 : now + (untilUs - now) / 2;
        _guests.push_back({ process, identity.name, identity.life, ending, changeAtUs });
    }

    void publish(std::int64_t now)
    {
        std::vector<Visitor*> due;
        for (Stay& stay : _stays) {
            if (now >= stay.nextUs) {
                stay.nextUs = now + VISITOR_PERIOD_US;
                stay.visitor->noteNext(now);
                due.push_back(stay.visitor.get());
            }
        }
        if (!_journal.write()) {
            refuse(_arguments.journal + ": " + std::strerror(errno));
        }
        for (Visitor* visitor : due) {
            visitor->publishNext();
        }
    }

    void note(const Guest& guest, const char* what, std::int64_t now)
    {
        _journal.add(guest.name, what, guest.life * NUMBERS_OF_A_LIFE + 1, now);
    }

    // False when it has gone.
    bool care(Guest& guest, std::int64_t now)
    {
        int status = 0;
        if (waitpid(guest.process, &status, WNOHANG) == guest.process) {
            const bool isExpected = guest.ending == Ending::IsKilled ? WIFSIGNALED(status)
                                                                     : WIFEXITED(status) && WEXITSTATUS(status) == 0;
            if (!isExpected) {
                std::fprintf(stderr, "qnyTestCrowd: %s ended with %d\n", guest.name.c_str(), status);
            }
            _regulars.erase(guest.name);
            return false;
        }
        if (now < guest.changeAtUs) {
            return true;
        }
        if (guest.ending == Ending::IsKilled) {
            note(guest, KILLED, now);
            kill(guest.process, SIGKILL);
            guest.changeAtUs = INT64_MAX;
        } else if (!guest.isFrozen) {
            note(guest, FROZEN, now);
            kill(guest.process, SIGSTOP);
            guest.isFrozen = true;
            guest.changeAtUs = now + FREEZE_US;
        } else {
            note(guest, THAWED, now);
            kill(guest.process, SIGCONT);
            guest.changeAtUs = INT64_MAX;
        }
        return true;
    }

    const Arguments _arguments;
    CrowdJournal _journal;
    std::vector<Stay> _stays;
    std::vector<Guest> _guests;
    std::set<std::string> _regulars; // that are here now
    std::map<std::string, std::int32_t> _lives;
    std::minstd_rand _random { 1 };
    std::int64_t _cameUs = 0; // when the first came; 0: none may yet
    int _arrived = 0;
    int _passersBy = 0;
    bool _hasGone = false;
};

// What is there to be read; nothing at the end of the input.
bool readInput(std::string* text)
{
    pollfd input { STDIN_FILENO, POLLIN, 0 };
    if (poll(&input, 1, 0) <= 0) {
        return true;
    }
    std::array<char, 256> part {};
    const ssize_t size = read(STDIN_FILENO, part.data(), part.size());
    text->append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return size > 0;
}

} // namespace

} // namespace soak

int main(int argc, char** argv)
{
    const soak::Arguments arguments = soak::parseArguments(argc, argv);
    soak::Crowd crowd(arguments);
    std::string input;
    std::int64_t sayAtUs = 0;
    bool isGoing = false;
    bool hasRested = false;
    while (soak::readInput(&input)) {
        if (!isGoing && input.find("go\n") != std::string::npos) {
            isGoing = true;
            crowd.letCome();
        }
        crowd.tick();
        if (const std::int64_t now = soak::nowUs(); now >= sayAtUs) {
            sayAtUs = now + soak::SECOND_US;
            std::printf("crowd %d %zu\n", crowd.arrived(), crowd.alive());
            if (crowd.isOver() && !hasRested) {
                hasRested = true;
                std::puts("rest");
            }
            std::fflush(stdout);
        }
        soak::sleepUntilNextTick();
    }
    qny_stop();
    return 0;
}
