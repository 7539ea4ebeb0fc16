#include "Tools/SoundLab/SleepAnnouncer.h"

#include <systemd/sd-bus.h>

#include <cstring>
#include <stdexcept>

namespace velto {

namespace {

void require(int result) {
    if (result < 0)
        throw std::runtime_error(std::string("Sleep can't be announced: ") + std::strerror(-result));
}

} // namespace

void SleepAnnouncer::End::operator()(sd_bus* bus) const noexcept { sd_bus_flush_close_unref(bus); }

SleepAnnouncer::SleepAnnouncer(const std::string& busAddress) {
    sd_bus* bus = nullptr;
    require(sd_bus_new(&bus));
    bus_.reset(bus);
    require(sd_bus_set_address(bus, busAddress.c_str()));
    require(sd_bus_set_bus_client(bus, 1));
    require(sd_bus_start(bus));
    require(sd_bus_request_name(bus, "org.freedesktop.login1", 0));
}

void SleepAnnouncer::announce(bool isFallingAsleep) {
    require(sd_bus_emit_signal(bus_.get(), "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                               "PrepareForSleep", "b", isFallingAsleep ? 1 : 0));
    require(sd_bus_flush(bus_.get()));
}

} // namespace velto
