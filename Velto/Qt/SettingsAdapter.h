// SettingsAdapter: the view model of the settings window, for the views.
//
// Owned by the user interface; main actor only. Forwards.
#pragma once

#include "Velto/Qt/AlignmentAdapter.h"
#include "Velto/Qt/InStepAdapter.h"
#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/RecordListModel.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/SettingsViewModel.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>

#include <map>
#include <memory>

namespace velto {

class SettingsAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(velto::InStepAdapter* inStep READ inStep CONSTANT)
    Q_PROPERTY(velto::AlignmentAdapter* alignment READ alignment CONSTANT)
    Q_PROPERTY(QString syncTestHelp READ syncTestHelp CONSTANT)
    Q_PROPERTY(QString syncEngineName READ syncEngineName CONSTANT)
    Q_PROPERTY(QString syncEngineHelp READ syncEngineHelp CONSTANT)
    Q_PROPERTY(bool isSyncTestRunning READ isSyncTestRunning NOTIFY changed)
    Q_PROPERTY(velto::ListModel* syncProfiles READ syncProfiles CONSTANT)
    Q_PROPERTY(QString resetHelp READ resetHelp CONSTANT)
    Q_PROPERTY(bool isResetting READ isResetting NOTIFY changed)
    Q_PROPERTY(velto::ListModel* debugRows READ debugRows CONSTANT)
    Q_PROPERTY(bool justCopiedDebugInfo READ justCopiedDebugInfo NOTIFY changed)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QVariantList licences READ licences CONSTANT)

  public:
    /// All must outlive the adapter.
    SettingsAdapter(SettingsViewModel& model, InStepAdapter& inStep, AlignmentViewModel& alignment);

    InStepAdapter* inStep() { return &inStep_; }
    AlignmentAdapter* alignment() { return &alignment_; }
    static QString syncTestHelp() { return toQString(SettingsViewModel::syncTestHelp); }
    QString syncEngineName() const { return toQString(model_.syncEngineName()); }
    QString syncEngineHelp() const { return toQString(model_.syncEngineHelp()); }
    bool isSyncTestRunning() const { return model_.isSyncTestRunning(); }
    ListModel* syncProfiles() { return &syncProfiles_; }

    static QString resetHelp() { return toQString(SettingsViewModel::resetHelp); }
    bool isResetting() const { return model_.isResetting(); }
    ListModel* debugRows() { return &debugRows_; }
    bool justCopiedDebugInfo() const { return model_.justCopiedDebugInfo(); }
    QString version() const;
    QVariantList licences() const;

    /// The headings of a tab's settings.
    Q_INVOKABLE QStringList sections(const QString& ofTab) const;
    /// The settings under a heading; null for one that there is not.
    Q_INVOKABLE velto::ListModel* rows(const QString& inSection) const;
    Q_INVOKABLE void set(const QString& key, const QVariant& value);
    Q_INVOKABLE void act(const QString& key) { model_.list().act(key.toStdString()); }
    Q_INVOKABLE void startSyncTest() { model_.startSyncTest(); }
    Q_INVOKABLE void stopSyncTest() { model_.stopSyncTest(); }
    Q_INVOKABLE void removeSyncProfile(const QString& id) { model_.removeSyncProfile(id.toStdString()); }
    Q_INVOKABLE void reset() { model_.beginReset(); }
    Q_INVOKABLE void copyDebugInfo() { model_.copyDebugInfo(); }
    Q_INVOKABLE void copyRedactedDebugInfo() { model_.copyRedactedDebugInfo(); }

  protected:
    void updateLists() override;

  private:
    SettingsViewModel& model_;
    InStepAdapter& inStep_;
    AlignmentAdapter alignment_;
    std::map<QString, std::unique_ptr<RecordListModel<SettingRow>>> sections_;
    RecordListModel<SyncProfileRow> syncProfiles_;
    RecordListModel<DebugRow> debugRows_;
};

} // namespace velto
