// PresetAdapter: the view model of the saved setups, for the views.
//
// Owned by the user interface; main actor only. Forwards. Presets are named by their ID's text.
#pragma once

#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/RecordListModel.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/PresetViewModel.h"

#include <QString>

namespace velto {

class PresetAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(velto::ListModel* rows READ rows CONSTANT)
    Q_PROPERTY(QString renameText READ renameText WRITE setRenameText NOTIFY changed)
    Q_PROPERTY(QString autoConnectOffer READ autoConnectOffer NOTIFY changed)
    Q_PROPERTY(bool canUndoDelete READ canUndoDelete NOTIFY changed)
    Q_PROPERTY(QString deletedPresetName READ deletedPresetName NOTIFY changed)

  public:
    /// The model must outlive the adapter.
    explicit PresetAdapter(PresetViewModel& model);

    ListModel* rows() { return &rows_; }
    QString renameText() const { return toQString(model_.renameText()); }
    void setRenameText(const QString& text) { model_.setRenameText(text.toStdString()); }
    QString autoConnectOffer() const { return toQString(model_.autoConnectOffer()); }
    bool canUndoDelete() const { return model_.canUndoDelete(); }
    QString deletedPresetName() const { return toQString(model_.deletedPresetName()); }

    Q_INVOKABLE void activate(const QString& id) { perform(&PresetViewModel::activate, id); }
    Q_INVOKABLE void toggleFavorite(const QString& id) { perform(&PresetViewModel::toggleFavorite, id); }
    Q_INVOKABLE void toggleAutoConnect(const QString& id) {
        perform(&PresetViewModel::toggleAutoConnect, id);
    }
    Q_INVOKABLE void acceptAutoConnectOffer() { model_.acceptAutoConnectOffer(); }
    Q_INVOKABLE void beginRename(const QString& id) { perform(&PresetViewModel::beginRename, id); }
    Q_INVOKABLE void commitRename() { model_.commitRename(); }
    Q_INVOKABLE void cancelRename() { model_.cancelRename(); }
    Q_INVOKABLE void remove(const QString& id) { perform(&PresetViewModel::deletePreset, id); }
    Q_INVOKABLE void undoDelete() { model_.undoDelete(); }

  protected:
    void updateLists() override;

  private:
    void perform(void (PresetViewModel::*operation)(const UUID&), const QString& id);

    PresetViewModel& model_;
    RecordListModel<PresetRow> rows_;
};

} // namespace velto
