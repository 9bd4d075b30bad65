#pragma once

#include <cstdint>

namespace kestra {

// Milliseconds since boot as the display deadlines count them: a 32-bit
// count widened to 64 bits without a sign, wrap included. Deadlines are
// compared against it without any wrap handling, on purpose.
class TickSource {
public:
    virtual ~TickSource() = default;
    virtual std::uint64_t tickCount() = 0;
};

class SystemTickSource final : public TickSource {
public:
    std::uint64_t tickCount() override;
};

// A clock the tests move by hand.
class FakeTickSource final : public TickSource {
public:
    explicit FakeTickSource(std::uint64_t start = 1000) : m_now(start) {}
    std::uint64_t tickCount() override { return m_now; }
    void advance(std::uint64_t ms) { m_now = static_cast<std::uint32_t>(m_now + ms); }
    void set(std::uint64_t ms) { m_now = static_cast<std::uint32_t>(ms); }

private:
    std::uint64_t m_now;
};

} // namespace kestra
