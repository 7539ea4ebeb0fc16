#include "Velto/Qt/PresetAdapter.h"

namespace velto {

PresetAdapter::PresetAdapter(PresetViewModel& model)
    : model_(model),
      rows_(this, [](const PresetRow& row) { return row.id.string(); },
            {{"presetID", [](const PresetRow& row) { return toQString(row.id.string()); }},
             {"name", [](const PresetRow& row) { return toQString(row.name); }},
             {"outputs", [](const PresetRow& row) { return toQString(row.outputs); }},
             {"shortOutputs", [](const PresetRow& row) { return toQString(row.shortOutputs); }},
             {"note", [](const PresetRow& row) { return toQString(row.note); }},
             {"favoriteTitle",
              [](const PresetRow& row) {
                  return toQString(PresetViewModel::favoriteActionTitle(row.isFavorite));
              }},
             {"isReady", [](const PresetRow& row) { return row.isReady; }},
             {"isFavorite", [](const PresetRow& row) { return row.isFavorite; }},
             {"isAutoConnect", [](const PresetRow& row) { return row.isAutoConnect; }},
             {"isActive", [](const PresetRow& row) { return row.isActive; }},
             {"isRenaming", [](const PresetRow& row) { return row.isRenaming; }},
             {"renameProblem", [](const PresetRow& row) { return toQString(row.renameProblem); }}}) {
    follow(model);
}

void PresetAdapter::updateLists() { rows_.update(model_.presetRows()); }

void PresetAdapter::perform(void (PresetViewModel::*operation)(const UUID&), const QString& id) {
    if (const auto preset = UUID::fromString(id.toStdString())) (model_.*operation)(*preset);
}

} // namespace velto
