#include "VeltoCore/Recovery/RecoveryState.h"

#include "VeltoCore/Foundation/JSONReading.h"
#include "VeltoCore/Foundation/JSONWriting.h"

namespace velto {

static void writeJSON(json::Writer& writer, const RecoveryState& state) {
    writer.object([&] {
        writer.field("aggregateUID", state.aggregateUID);
        writer.field("previousDefaultOutputUID", state.previousDefaultOutputUID);
        writer.field("previousSystemOutputUID", state.previousSystemOutputUID);
        writer.field("firstDeviceUID", state.firstDeviceUID);
        writer.field("secondDeviceUID", state.secondDeviceUID);
        writer.field("startedAt", state.startedAt);
    });
}

static json::Result<RecoveryState> readJSON(const json::Value& value, std::type_identity<RecoveryState>) {
    json::ObjectReader object(value);
    return object.result(RecoveryState{
        .aggregateUID = object.required<std::string>("aggregateUID"),
        .previousDefaultOutputUID = object.optional<std::string>("previousDefaultOutputUID"),
        .previousSystemOutputUID = object.optional<std::string>("previousSystemOutputUID"),
        .firstDeviceUID = object.required<std::string>("firstDeviceUID"),
        .secondDeviceUID = object.required<std::string>("secondDeviceUID"),
        .startedAt = object.required<Date>("startedAt"),
    });
}

std::optional<Data> encodeRecoveryState(const RecoveryState& state) { return json::encode(state); }

std::expected<RecoveryState, DecodingError> decodeRecoveryState(const Data& data) {
    return json::decode<RecoveryState>(data);
}

} // namespace velto
