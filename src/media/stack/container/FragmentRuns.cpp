#include "media/stack/container/FragmentRuns.h"

#include <bit>

namespace kelmo {

namespace {

constexpr int64_t maxEmptySamples = 1 << 16; // Of one run.

// What a track's fragment, and a run in it, say to be there.
constexpr uint32_t hasBaseOffset = 0x1;
constexpr uint32_t hasDescription = 0x2;
constexpr uint32_t hasDuration = 0x8;
constexpr uint32_t hasSize = 0x10;
constexpr uint32_t runHasOffset = 0x1;
constexpr uint32_t runHasFirstFlags = 0x4;
constexpr uint32_t runHasSizes = 0x200;
constexpr uint32_t runColumns = 0xf00; // A bit for each number that every sample has.

} // namespace

FragmentRuns::FragmentRuns(int64_t fileSize)
    : m_unclaimed(fileSize)
{
}

void FragmentRuns::readDefaults(BoxBytes movie)
{
    uint32_t type = 0;
    BoxBytes extends(nullptr, 0);
    while (movie.nextBox(type, extends)) {
        BoxBytes body(nullptr, 0);
        while (type == tag("mvex") && extends.nextBox(type, body)) {
            if (type == tag("trex")) {
                body.skip(4);
                const uint32_t track = body.u32();
                body.skip(8);
                m_sampleSizes[track] = body.u32();
            }
            type = tag("mvex");
        }
    }
}

void FragmentRuns::readFragment(BoxBytes fragment, int64_t position)
{
    const char* const start = fragment.here();
    uint32_t type = 0;
    BoxBytes body(nullptr, 0);
    while (fragment.nextBox(type, body)) {
        if (type == tag("traf"))
            readTrack(body, position + (body.here() - start));
    }
}

void FragmentRuns::readTrack(BoxBytes boxes, int64_t position)
{
    const char* const start = boxes.here();
    uint32_t type = 0;
    uint32_t sampleSize = 0;
    BoxBytes body(nullptr, 0);
    while (boxes.nextBox(type, body)) {
        if (type == tag("trun"))
            checkRun(body, position + (body.here() - start), sampleSize);
        if (type != tag("tfhd"))
            continue;
        const uint32_t flags = body.u32();
        sampleSize = m_sampleSizes[body.u32()];
        body.skip((flags & hasBaseOffset ? 8 : 0) + (flags & hasDescription ? 4 : 0) + (flags & hasDuration ? 4 : 0));
        sampleSize = flags & hasSize ? body.u32() : sampleSize;
    }
}

void FragmentRuns::checkRun(BoxBytes run, int64_t position, uint32_t sampleSize)
{
    const uint32_t flags = run.u32();
    const uint32_t count = run.u32();
    run.skip((flags & runHasOffset ? 4 : 0) + (flags & runHasFirstFlags ? 4 : 0));
    int64_t room = count;
    if (const int columns = std::popcount(flags & runColumns); columns > 0)
        room = run.left() / (4 * columns);
    if (!(flags & runHasSizes)) {
        room = std::min(room, sampleSize > 0 ? m_unclaimed / sampleSize : maxEmptySamples);
        m_unclaimed -= std::min<int64_t>(count, room) * sampleSize;
    }
    if (count > room)
        m_corrections.push_back({position + 4, uint32_t(room)});
}

} // namespace kelmo
