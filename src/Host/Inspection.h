#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Sides/Child.h"

namespace Host {

/// A playback-inspect for the frames at which a replay pauses. It is started when it is first needed and ends with
/// this.
class Inspection {
public:
    /// `driver` is the folder of the driver's libraries; empty for the system's.
    Inspection(std::string capture, std::string driver) : m_capture(std::move(capture)), m_driver(std::move(driver)) {}
    ~Inspection();
    Inspection(const Inspection&) = delete;
    Inspection& operator=(const Inspection&) = delete;

    /// Opens the frame in a browser. What there is to say of that: its address, or why there is none.
    std::string Show(std::uint32_t frame);

private:
    /// Empty where that went well.
    std::string Start();

    std::string m_capture;
    std::string m_driver;
    /// Null while it is not needed.
    std::unique_ptr<Sides::Child> m_server;
    std::string m_address;
};

} // namespace Host
