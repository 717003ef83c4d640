// What the server takes on at once, and how long it waits.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace korrin_tool::serve {

constexpr std::size_t kMostBodyBytes = 1'000'000;
constexpr std::size_t kMostPathBytes = 256;  // of a request's address
constexpr int kMostNesting = 16;             // of lists and objects in JSON

constexpr std::size_t kWorkers = 8;        // requests that are worked on at the same time
constexpr std::size_t kWaitingJobs = 256;  // and those that wait for it; beyond, 503
constexpr std::size_t kMostSessions = 8;
// Connections that are open at the same time, each with a thread that mostly sleeps; more wait.
constexpr std::size_t kConnections = sizeof(void*) > 4 ? 384 : 96;

constexpr std::chrono::seconds kClientTimeout{5};  // without a byte from or to a client
constexpr std::chrono::seconds kBodyTimeout{15};   // for a whole body
constexpr std::chrono::seconds kUnopened{10};      // a session whose events nobody asks for
constexpr std::chrono::minutes kMostPaused{10};    // a session that stands still

constexpr std::size_t kPreparedMaps = 8;             // planners, and searches, that are kept
constexpr std::int64_t kPreparedCells = 64'000'000;  // and their cells altogether; one in any case
constexpr std::size_t kLayers = 16;

}  // namespace korrin_tool::serve
