// InStepAdapter: when each output is heard, for the views of panel and settings.
//
// Owned by the user interface; main actor only. Forwards.
#pragma once

#include "Velto/Qt/ModelAdapter.h"
#include "Velto/Qt/RecordListModel.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/InStepViewModel.h"

#include <QString>

namespace velto {

class InStepAdapter final : public ModelAdapter {
    Q_OBJECT
    Q_PROPERTY(bool isSupported READ isSupported CONSTANT)
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY changed)
    Q_PROPERTY(QString help READ help NOTIFY changed)
    Q_PROPERTY(velto::ListModel* rows READ rows CONSTANT)
    Q_PROPERTY(
        bool clicksWhileAdjusting READ clicksWhileAdjusting WRITE setClicksWhileAdjusting NOTIFY changed)
    Q_PROPERTY(bool canUseReportedLatency READ canUseReportedLatency NOTIFY changed)
    Q_PROPERTY(QString reportedLatencyText READ reportedLatencyText NOTIFY changed)

  public:
    /// The model must outlive the adapter.
    explicit InStepAdapter(InStepViewModel& model)
        : model_(model), rows_(this, &InStepRow::uid,
                               {{"uid", [](const InStepRow& row) { return toQString(row.uid); }},
                                {"name", [](const InStepRow& row) { return toQString(row.name); }},
                                {"delay", [](const InStepRow& row) { return row.delay; }},
                                {"delayText", [](const InStepRow& row) { return toQString(row.text); }}}) {
        follow(model);
    }

    bool isSupported() const { return model_.isSupported(); }
    bool isAvailable() const { return model_.isAvailable(); }
    QString help() const {
        return toQString(model_.isAvailable() ? InStepViewModel::help : InStepViewModel::unavailableText);
    }
    ListModel* rows() { return &rows_; }
    bool clicksWhileAdjusting() const { return model_.clicksWhileAdjusting(); }
    void setClicksWhileAdjusting(bool clicks) { model_.setClicksWhileAdjusting(clicks); }
    bool canUseReportedLatency() const { return model_.canUseReportedLatency(); }
    QString reportedLatencyText() const { return toQString(model_.reportedLatencyText()); }

    Q_INVOKABLE void setDelay(const QString& uid, double milliseconds) {
        model_.setDelay(milliseconds, uid.toStdString());
    }
    Q_INVOKABLE void useReportedLatency() { model_.useReportedLatency(); }

  protected:
    void updateLists() override { rows_.update(model_.rows()); }

  private:
    InStepViewModel& model_;
    RecordListModel<InStepRow> rows_;
};

} // namespace velto
