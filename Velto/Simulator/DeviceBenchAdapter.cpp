#include "Velto/Simulator/DeviceBenchAdapter.h"

#include <utility>

namespace velto {

DeviceBenchAdapter::DeviceBenchAdapter(DeviceBench& bench)
    : bench_(bench),
      devices_(this, &BenchDevice::uid,
               {{"uid", [](const BenchDevice& device) { return toQString(device.uid); }},
                {"name", [](const BenchDevice& device) { return toQString(device.name); }},
                {"transport", [](const BenchDevice& device) { return toQString(device.transport); }},
                {"isPlugged", [](const BenchDevice& device) { return device.isPlugged; }},
                {"isDefault", [](const BenchDevice& device) { return device.isDefault; }},
                {"isInAggregate", [](const BenchDevice& device) { return device.isInAggregate; }},
                {"hasVolume", [](const BenchDevice& device) { return device.hasVolume; }},
                {"volume", [](const BenchDevice& device) { return static_cast<double>(device.volume); }},
                {"rate", [](const BenchDevice& device) {
                     return QString::number(device.sampleRate / 1000) + QStringLiteral(" kHz");
                 }}}) {
    follow(bench);
}

QStringList DeviceBenchAdapter::calls() const {
    QStringList lines;
    for (const std::string& line : bench_.recentCalls())
        lines.append(toQString(line));
    return lines;
}

void DeviceBenchAdapter::readCalls() {
    if (std::exchange(shownCalls_, callCount()) != callCount()) Q_EMIT callsRead();
}

} // namespace velto
