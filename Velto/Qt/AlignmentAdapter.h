// AlignmentAdapter: "Align with Microphone", for the views.
//
// Owned by the user interface; main actor only. Forwards.
#pragma once

#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/AlignmentViewModel.h"

#include <QString>
#include <QVariantList>
#include <QVariantMap>

namespace velto {

class AlignmentAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(bool isPossible READ isPossible CONSTANT)
    Q_PROPERTY(QString help READ help CONSTANT)
    Q_PROPERTY(QVariantList inputs READ inputs NOTIFY changed)
    Q_PROPERTY(QString inputUID READ inputUID WRITE setInputUID NOTIFY changed)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY changed)
    Q_PROPERTY(bool canStart READ canStart NOTIFY changed)
    Q_PROPERTY(QString progressText READ progressText NOTIFY changed)
    Q_PROPERTY(double level READ level NOTIFY changed)
    Q_PROPERTY(QString result READ result NOTIFY changed)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY changed)
    Q_PROPERTY(QVariantList arrivals READ arrivals NOTIFY changed)
    Q_PROPERTY(double latestShown READ latestShown NOTIFY changed)

  public:
    /// The model must outlive the adapter.
    explicit AlignmentAdapter(AlignmentViewModel& model) : model_(model) { follow(model); }

    bool isPossible() const { return model_.isPossible(); }
    static QString help() { return toQString(AlignmentViewModel::help); }
    QVariantList inputs() const {
        QVariantList list;
        for (const auto& input : model_.inputs())
            list.append(QVariantMap{{"value", toQString(input.uid)}, {"title", toQString(input.name)}});
        return list;
    }
    QString inputUID() const { return toQString(model_.inputUID()); }
    void setInputUID(const QString& uid) { model_.chooseInput(uid.toStdString()); }
    bool isRunning() const { return model_.isRunning(); }
    bool canStart() const { return model_.canStart(); }
    QString progressText() const { return toQString(model_.progressText()); }
    double level() const { return static_cast<double>(model_.level()); }
    QString result() const { return toQString(model_.result()); }
    bool hasFailed() const { return model_.hasFailed(); }
    QVariantList arrivals() const {
        QVariantList list;
        for (const AlignmentArrival& arrival : model_.arrivals())
            list.append(QVariantMap{
                {"name", toQString(arrival.name)}, {"before", arrival.before}, {"after", arrival.after}});
        return list;
    }
    double latestShown() const { return model_.latestShown(); }

    Q_INVOKABLE void start() { model_.start(); }
    Q_INVOKABLE void cancel() { model_.cancel(); }

  private:
    AlignmentViewModel& model_;
};

} // namespace velto
