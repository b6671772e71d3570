// SPDX-License-Identifier: Apache-2.0
// The spill journal as a recorder finds it after a crash. The input is a series of pieces of its file, each with two
// bytes of length: the state in the first slot, that in the second, then the payloads of its frames, of which the first
// holds the record's facts. Checksums are right, unless the first byte says which one is not.
#include "fuzz.h"

#include "chunk/bytes.h"
#include "chunk/checksum.h"
#include "store/spill/batchbytes.h"
#include "store/spill/journal.h"

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

using namespace recorder;

namespace {

constexpr std::uint64_t slotBytes = 1024 * 1024;

std::string slot(std::string_view content, std::uint64_t generation, bool isDamaged)
{
    std::string out("RRSPILL\n");
    putLittle(out, std::uint32_t(1));
    putLittle(out, generation);
    putLittle(out, static_cast<std::uint32_t>(content.size()));
    putLittle(out, crc32c(content, crc32c(out)) + (isDamaged ? 1 : 0));
    out += content;
    return out;
}

std::string frame(std::string_view payload, std::uint64_t number, std::uint32_t events, bool isDamaged)
{
    std::string out("RRSF");
    putLittle(out, static_cast<std::uint32_t>(payload.size()));
    putLittle(out, number);
    putLittle(out, events);
    putLittle(out, crc32c(payload) + (isDamaged ? 1 : 0));
    putLittle(out, std::uint32_t(0));
    putLittle(out, crc32c(out));
    out += payload;
    return out;
}

// In memory, where there is such a folder; with a name, for a journal without one counts as somebody else's.
class File
{
public:
    File()
        : m_folder((std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path())
              / ("fuzz-journal-" + std::to_string(::getpid())))
        , m_path(m_folder / "journal")
    {
        std::filesystem::create_directories(m_folder);
        m_descriptor = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        fuzz::expect(m_descriptor >= 0, "a file can be made");
    }
    ~File()
    {
        ::close(m_descriptor);
        std::filesystem::remove_all(m_folder);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    const std::filesystem::path& path() const { return m_path; }
    void clear() const { fuzz::expect(::ftruncate(m_descriptor, 0) == 0, "the file can be emptied"); }
    void write(std::uint64_t at, std::string_view bytes) const
    {
        fuzz::expect(::pwrite(m_descriptor, bytes.data(), bytes.size(), static_cast<off_t>(at))
                == static_cast<ssize_t>(bytes.size()),
            "the file can be written");
    }

private:
    const std::filesystem::path m_folder;
    const std::filesystem::path m_path;
    int m_descriptor = -1;
};

// Without this, a file that no journal can be opened from would pass for ever.
bool canBeOpened(const File& file)
{
    SpillBudget budget(slotBytes);
    StoreResult result = StoreResult::done();
    Journal::create(file.path(), RecordFacts(), Journal::State(), budget, result);
    return result && Journal::open(file.path(), budget, result) != nullptr;
}

void fill(const File& file, fuzz::Input& input)
{
    const auto damaged = input.number<uint8_t>();
    file.write(0, slot(input.text16(), 1, damaged == 1));
    file.write(slotBytes, slot(input.text16(), 2, damaged == 2));
    std::uint64_t at = 2 * slotBytes;
    for (std::uint8_t number = 0; number == 0 || !input.isEmpty(); ++number) {
        const std::string_view payload = input.text16();
        Batch batch;
        const std::uint32_t events
            = number > 0 && unpackBatch(payload, batch) ? static_cast<std::uint32_t>(eventsIn(batch)) : 0;
        const std::string bytes = frame(payload, number, events, damaged == number + 3);
        file.write(at, bytes);
        at += bytes.size();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const File file;
    static const bool isFit = canBeOpened(file);
    fuzz::expect(isFit, "a journal can be opened");
    file.clear();
    fuzz::Input input(data, size);
    fill(file, input);
    constexpr std::uint64_t limit = 64 * 1024 * 1024;
    SpillBudget budget(limit);
    StoreResult result = StoreResult::done();
    if (const auto journal = Journal::open(file.path(), budget, result)) {
        fuzz::expect(budget.used() <= size + 64 * 1024, "what waits is in the file");
        Batch batch;
        std::size_t batches = 0;
        while (journal->next(batch) && batches <= size) {
            ++batches;
            journal->drained();
            fuzz::expect(budget.used() <= size + 64 * 1024, "what is drained is given back once");
        }
        fuzz::expect(batches <= size, "a journal has an end");
        Batch added;
        added.extent.events = 1;
        fuzz::expect(!journal->append(added) || (journal->next(batch) && packBatch(batch) == packBatch(added)),
            "what is appended comes out again");
        journal->setMade();
        fuzz::expect(journal->state().isMade, "what is noted is known");
    } else {
        fuzz::expect(!result, "what cannot be opened is told");
    }
    fuzz::expect(budget.used() == 0, "a journal that is closed takes nothing of the budget");
    return 0;
}
