// SettingsAdapter: the view model of the settings window, for the views.
//
// Owned by the user interface; main actor only. Forwards. Choices travel by their raw values.
#pragma once

#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/RecordListModel.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/SettingsViewModel.h"

#include <QString>
#include <QVariantList>
#include <QVariantMap>

namespace velto {

class SettingsAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(QVariantMap texts READ texts CONSTANT)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
    Q_PROPERTY(bool isLaunchAtLoginAvailable READ isLaunchAtLoginAvailable NOTIFY changed)
    Q_PROPERTY(QString launchAtLoginNote READ launchAtLoginNote NOTIFY changed)
    Q_PROPERTY(bool offersLoginItemsSettings READ offersLoginItemsSettings NOTIFY changed)
    Q_PROPERTY(bool showInDock READ showInDock WRITE setShowInDock NOTIFY changed)
    Q_PROPERTY(bool rememberSelectedDevices READ rememberSelectedDevices WRITE setRememberSelectedDevices
                   NOTIFY changed)
    Q_PROPERTY(bool autoConnect READ autoConnect WRITE setAutoConnect NOTIFY changed)
    Q_PROPERTY(bool autoReconnect READ autoReconnect WRITE setAutoReconnect NOTIFY changed)
    Q_PROPERTY(QVariantList disconnectBehaviors READ disconnectBehaviors CONSTANT)
    Q_PROPERTY(QString disconnectBehavior READ disconnectBehavior WRITE setDisconnectBehavior NOTIFY changed)
    Q_PROPERTY(QVariantList sampleRates READ sampleRates CONSTANT)
    Q_PROPERTY(double sampleRate READ sampleRate WRITE setSampleRate NOTIFY changed)
    Q_PROPERTY(QVariantList clockStrategies READ clockStrategies CONSTANT)
    Q_PROPERTY(QString clockStrategy READ clockStrategy WRITE setClockStrategy NOTIFY changed)
    Q_PROPERTY(
        QString aggregateDeviceName READ aggregateDeviceName WRITE setAggregateDeviceName NOTIFY changed)
    Q_PROPERTY(QString syncEngineName READ syncEngineName CONSTANT)
    Q_PROPERTY(
        bool rememberSyncProfiles READ rememberSyncProfiles WRITE setRememberSyncProfiles NOTIFY changed)
    Q_PROPERTY(QVariantList referenceDevices READ referenceDevices NOTIFY changed)
    Q_PROPERTY(QString referenceDevice READ referenceDevice WRITE setReferenceDevice NOTIFY changed)
    Q_PROPERTY(double syncTestVolume READ syncTestVolume WRITE setSyncTestVolume NOTIFY changed)
    Q_PROPERTY(bool isSyncTestRunning READ isSyncTestRunning NOTIFY changed)
    Q_PROPERTY(velto::ListModel* syncProfiles READ syncProfiles CONSTANT)
    Q_PROPERTY(bool isResetting READ isResetting NOTIFY changed)
    Q_PROPERTY(velto::ListModel* debugRows READ debugRows CONSTANT)
    Q_PROPERTY(bool didCopyDebugInfo READ didCopyDebugInfo NOTIFY changed)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QVariantList licences READ licences CONSTANT)

  public:
    /// The model must outlive the adapter.
    explicit SettingsAdapter(SettingsViewModel& model);

    /// Label and help text of each setting, by its name.
    static QVariantMap texts();
    bool launchAtLogin() const { return model_.launchAtLoginEnabled(); }
    void setLaunchAtLogin(bool isOn) { model_.setLaunchAtLoginEnabled(isOn); }
    bool isLaunchAtLoginAvailable() const { return model_.isLaunchAtLoginAvailable(); }
    QString launchAtLoginNote() const { return toQString(model_.launchAtLoginNote()); }
    bool offersLoginItemsSettings() const { return model_.offersLoginItemsSettings(); }
    bool showInDock() const { return model_.showInDock(); }
    void setShowInDock(bool isOn) { model_.setShowInDock(isOn); }
    bool rememberSelectedDevices() const { return model_.rememberSelectedDevices(); }
    void setRememberSelectedDevices(bool isOn) { model_.setRememberSelectedDevices(isOn); }
    bool autoConnect() const { return model_.autoConnect(); }
    void setAutoConnect(bool isOn) { model_.setAutoConnect(isOn); }
    bool autoReconnect() const { return model_.autoReconnect(); }
    void setAutoReconnect(bool isOn) { model_.setAutoReconnect(isOn); }
    QVariantList disconnectBehaviors() const;
    QString disconnectBehavior() const { return toQString(model_.disconnectBehavior()); }
    void setDisconnectBehavior(const QString& value) { model_.setDisconnectBehavior(value.toStdString()); }
    QVariantList sampleRates() const;
    double sampleRate() const { return model_.preferredSampleRate(); }
    void setSampleRate(double value) { model_.setPreferredSampleRate(value); }
    QVariantList clockStrategies() const;
    QString clockStrategy() const { return toQString(model_.clockStrategy()); }
    void setClockStrategy(const QString& value) { model_.setClockStrategy(value.toStdString()); }
    QString aggregateDeviceName() const { return toQString(model_.aggregateDeviceName()); }
    void setAggregateDeviceName(const QString& name) { model_.setAggregateDeviceName(name.toStdString()); }

    QString syncEngineName() const { return toQString(model_.syncEngineName()); }
    bool rememberSyncProfiles() const { return model_.rememberSyncProfiles(); }
    void setRememberSyncProfiles(bool isOn) { model_.setRememberSyncProfiles(isOn); }
    QVariantList referenceDevices() const;
    QString referenceDevice() const { return toQString(model_.defaultReferenceDeviceUID()); }
    void setReferenceDevice(const QString& uid) { model_.setDefaultReferenceDeviceUID(uid.toStdString()); }
    double syncTestVolume() const { return model_.syncTestVolume(); }
    void setSyncTestVolume(double volume) { model_.setSyncTestVolume(volume); }
    bool isSyncTestRunning() const { return model_.isSyncTestRunning(); }
    ListModel* syncProfiles() { return &syncProfiles_; }

    bool isResetting() const { return model_.isResetting(); }
    ListModel* debugRows() { return &debugRows_; }
    bool didCopyDebugInfo() const { return model_.didCopyDebugInfo(); }
    QString version() const;
    /// Of the libraries, fonts and drawings that the program comes with.
    static QVariantList licences();

    Q_INVOKABLE void refreshLaunchAtLogin() { model_.refreshLaunchAtLogin(); }
    Q_INVOKABLE void openLoginItemsSettings() { model_.openLoginItemsSettings(); }
    Q_INVOKABLE void startSyncTest() { model_.startSyncTest(); }
    Q_INVOKABLE void stopSyncTest() { model_.stopSyncTest(); }
    Q_INVOKABLE void removeSyncProfile(const QString& id) { model_.removeSyncProfile(id.toStdString()); }
    Q_INVOKABLE void reset() { model_.beginReset(); }
    Q_INVOKABLE void copyDebugInfo() { model_.copyDebugInfo(); }

  protected:
    void updateLists() override;

  private:
    SettingsViewModel& model_;
    RecordListModel<SyncProfileRow> syncProfiles_;
    RecordListModel<DebugRow> debugRows_;
};

} // namespace velto
