// MenuBarAdapter: the panel's view model, for the views.
//
// Owned by the user interface; main actor only. Forwards.
#pragma once

#include "Velto/Qt/InStepAdapter.h"
#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/RecordListModel.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/MenuBarViewModel.h"

#include <QString>
#include <QVariantMap>

namespace velto {

class MenuBarAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(QString firstUID WRITE setFirstUID READ firstUID NOTIFY changed)
    Q_PROPERTY(QString secondUID WRITE setSecondUID READ secondUID NOTIFY changed)
    Q_PROPERTY(QVariantMap firstEntry READ firstEntry NOTIFY changed)
    Q_PROPERTY(QVariantMap secondEntry READ secondEntry NOTIFY changed)
    Q_PROPERTY(velto::ListModel* firstRows READ firstRows CONSTANT)
    Q_PROPERTY(velto::ListModel* secondRows READ secondRows CONSTANT)
    Q_PROPERTY(velto::ListModel* outputs READ outputs CONSTANT)
    Q_PROPERTY(bool isChoosingOutputs READ isChoosingOutputs WRITE setIsChoosingOutputs NOTIFY changed)
    Q_PROPERTY(bool showsPickers READ showsPickers NOTIFY changed)
    Q_PROPERTY(QString hint READ hint NOTIFY changed)
    Q_PROPERTY(QString statusTitle READ statusTitle NOTIFY changed)
    Q_PROPERTY(QString statusSymbol READ statusSymbol NOTIFY changed)
    Q_PROPERTY(QString statusTone READ statusTone NOTIFY changed)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY changed)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY changed)
    Q_PROPERTY(QString errorText READ errorText NOTIFY changed)
    Q_PROPERTY(QString recoveryText READ recoveryText NOTIFY changed)
    Q_PROPERTY(velto::InStepAdapter* inStep READ inStep CONSTANT)
    Q_PROPERTY(QString syncSummary READ syncSummary NOTIFY changed)
    Q_PROPERTY(QString disconnectQuestion READ disconnectQuestion NOTIFY changed)
    Q_PROPERTY(QString keepPlayingTitle READ keepPlayingTitle CONSTANT)
    Q_PROPERTY(QString stopPlayingTitle READ stopPlayingTitle CONSTANT)
    Q_PROPERTY(bool showsPrimaryAction READ showsPrimaryAction NOTIFY changed)
    Q_PROPERTY(QString primaryActionTitle READ primaryActionTitle NOTIFY changed)
    Q_PROPERTY(QString primaryActionSymbol READ primaryActionSymbol NOTIFY changed)
    Q_PROPERTY(bool isPrimaryActionEnabled READ isPrimaryActionEnabled NOTIFY changed)
    Q_PROPERTY(bool isPrimaryActionProminent READ isPrimaryActionProminent NOTIFY changed)
    Q_PROPERTY(bool isPrimaryActionBusy READ isPrimaryActionBusy NOTIFY changed)
    Q_PROPERTY(bool hasMasterVolume READ hasMasterVolume NOTIFY changed)
    Q_PROPERTY(double masterVolume READ masterVolume WRITE setMasterVolume NOTIFY changed)
    Q_PROPERTY(QString masterVolumeText READ masterVolumeText NOTIFY changed)
    Q_PROPERTY(QString newPresetNameProblem READ newPresetNameProblem NOTIFY changed)
    Q_PROPERTY(bool canSaveCurrentAsPreset READ canSaveCurrentAsPreset NOTIFY changed)
    Q_PROPERTY(QString newPresetName READ newPresetName WRITE setNewPresetName NOTIFY changed)
    Q_PROPERTY(
        bool isShowingPresetEditor READ isShowingPresetEditor WRITE setIsShowingPresetEditor NOTIFY changed)

  public:
    /// Both must outlive the adapter.
    MenuBarAdapter(MenuBarViewModel& model, InStepAdapter& inStep);

    QString firstUID() const { return toQString(model_.firstDeviceUID()); }
    QString secondUID() const { return toQString(model_.secondDeviceUID()); }
    void setFirstUID(const QString& uid) { choose(MenuBarViewModel::Slot::first, uid); }
    void setSecondUID(const QString& uid) { choose(MenuBarViewModel::Slot::second, uid); }
    QVariantMap firstEntry() const { return entry(MenuBarViewModel::Slot::first); }
    QVariantMap secondEntry() const { return entry(MenuBarViewModel::Slot::second); }
    ListModel* firstRows() { return &firstRows_; }
    ListModel* secondRows() { return &secondRows_; }
    ListModel* outputs() { return &outputs_; }
    bool isChoosingOutputs() const { return model_.isChoosingOutputs(); }
    void setIsChoosingOutputs(bool isChoosing) { model_.setIsChoosingOutputs(isChoosing); }
    bool showsPickers() const { return model_.showsPickers(); }
    QString hint() const;

    QString statusTitle() const { return toQString(model_.statusTitle()); }
    QString statusSymbol() const { return toQString(model_.statusSymbol()); }
    QString statusTone() const;
    bool isBusy() const { return model_.isBusy(); }
    bool isPlaying() const { return model_.isPlaying(); }
    QString errorText() const { return toQString(model_.errorText()); }
    QString recoveryText() const { return toQString(model_.recoveryText()); }
    InStepAdapter* inStep() { return &inStep_; }
    QString syncSummary() const { return toQString(model_.syncSummary()); }
    QString disconnectQuestion() const { return toQString(model_.disconnectQuestion()); }

    QString keepPlayingTitle() const {
        return toQString(MenuBarViewModel::title(MenuBarViewModel::DisconnectAnswer::keepPlaying));
    }
    QString stopPlayingTitle() const {
        return toQString(MenuBarViewModel::title(MenuBarViewModel::DisconnectAnswer::stopPlaying));
    }
    /// The disconnect question has its own buttons.
    bool showsPrimaryAction() const { return !model_.disconnectQuestion(); }
    QString primaryActionTitle() const { return toQString(model_.primaryActionTitle()); }
    QString primaryActionSymbol() const;
    bool isPrimaryActionEnabled() const { return model_.isPrimaryActionEnabled(); }
    bool isPrimaryActionProminent() const;
    bool isPrimaryActionBusy() const;
    bool hasMasterVolume() const { return model_.hasMasterVolume(); }
    double masterVolume() const { return static_cast<double>(model_.masterVolume()); }
    void setMasterVolume(double volume) { model_.setMasterVolume(static_cast<float>(volume)); }
    QString masterVolumeText() const;

    QString newPresetName() const { return toQString(model_.newPresetName()); }
    void setNewPresetName(const QString& name) { model_.setNewPresetName(name.toStdString()); }
    QString newPresetNameProblem() const { return toQString(model_.newPresetNameProblem()); }
    bool canSaveCurrentAsPreset() const { return model_.canSaveCurrentAsPreset(); }
    bool isShowingPresetEditor() const { return model_.isShowingPresetEditor(); }
    void setIsShowingPresetEditor(bool isShowing) { model_.setIsShowingPresetEditor(isShowing); }

    Q_INVOKABLE void performPrimaryAction() { model_.performPrimaryAction(); }
    Q_INVOKABLE void keepPlaying() {
        model_.answerDisconnect(MenuBarViewModel::DisconnectAnswer::keepPlaying);
    }
    Q_INVOKABLE void stopPlaying() {
        model_.answerDisconnect(MenuBarViewModel::DisconnectAnswer::stopPlaying);
    }
    Q_INVOKABLE void dismissError() { model_.dismissError(); }
    Q_INVOKABLE void setVolume(const QString& uid, double volume);
    Q_INVOKABLE void toggleMute(const QString& uid);
    Q_INVOKABLE void saveCurrentAsPreset() { model_.saveCurrentAsPreset(); }

  protected:
    void updateLists() override;

  private:
    void choose(MenuBarViewModel::Slot slot, const QString& uid);
    QVariantMap entry(MenuBarViewModel::Slot slot) const;

    MenuBarViewModel& model_;
    InStepAdapter& inStep_;
    RecordListModel<OutputRow> firstRows_;
    RecordListModel<OutputRow> secondRows_;
    RecordListModel<OutputCard> outputs_;
};

} // namespace velto
