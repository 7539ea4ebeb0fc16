// DeviceBenchAdapter: the bench, for its window.
//
// Owned by the simulator's entry point; main actor only. Forwards.
#pragma once

#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/RecordListModel.h"
#include "Velto/Qt/Text.h"
#include "Velto/Simulator/DeviceBench.h"

#include <QString>
#include <QStringList>

namespace velto {

class DeviceBenchAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(velto::ListModel* devices READ devices CONSTANT)
    Q_PROPERTY(QString defaultOutput READ defaultOutput NOTIFY changed)
    Q_PROPERTY(int callCount READ callCount NOTIFY callsRead)
    Q_PROPERTY(QStringList calls READ calls NOTIFY callsRead)

  public:
    /// The bench must outlive the adapter.
    explicit DeviceBenchAdapter(DeviceBench& bench);

    ListModel* devices() { return &devices_; }
    QString defaultOutput() const { return toQString(bench_.defaultOutputName()); }
    int callCount() const { return static_cast<int>(bench_.callCount()); }
    QStringList calls() const;

    Q_INVOKABLE void togglePlug(const QString& uid) { bench_.togglePlug(uid.toStdString()); }
    Q_INVOKABLE void rename(const QString& uid, const QString& name) {
        bench_.rename(uid.toStdString(), name.toStdString());
    }
    Q_INVOKABLE void setVolume(const QString& uid, double volume) {
        bench_.setVolume(uid.toStdString(), static_cast<float>(volume));
    }
    Q_INVOKABLE void toggleSampleRate(const QString& uid) { bench_.toggleSampleRate(uid.toStdString()); }
    Q_INVOKABLE void pickDefault(const QString& uid) { bench_.pickDefault(uid.toStdString()); }
    Q_INVOKABLE void plugAnother() { bench_.plugAnother(); }
    Q_INVOKABLE void fallAsleep() { bench_.fallAsleep(); }
    Q_INVOKABLE void wakeUp() { bench_.wakeUp(); }
    Q_INVOKABLE void restartAudioService() { bench_.restartAudioService(); }
    Q_INVOKABLE void failNextStart() { bench_.failNextStart(); }
    Q_INVOKABLE void failNextCall() { bench_.failNextCall(); }
    /// Calls are not announced one by one: the window asks.
    Q_INVOKABLE void readCalls();

  Q_SIGNALS:
    void callsRead();

  protected:
    void updateLists() override { devices_.update(bench_.devices()); }

  private:
    DeviceBench& bench_;
    RecordListModel<BenchDevice> devices_;
    int shownCalls_ = -1;
};

} // namespace velto
