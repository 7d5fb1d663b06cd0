#pragma once

#include <QAbstractTableModel>

#include "screens/automation/SyncRulesScreen.h"

namespace tovri {

// The rules, column by column, as the screen tells of them. The last column is checked while its rule is enabled.
class SyncRuleModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { remoteFolder, arrow, localFolder, interval, status, enabled, columnEnd };

    static_assert(columnEnd == std::size(SyncRuleRow::columns));

    // `screen` outlives the model.
    explicit SyncRuleModel(SyncRulesScreen& screen, QObject* parent = nullptr);

    // Changes of the chrome are none of its business.
    void follow(const ScreenChange& change);

    // Empty when there is no such row, as while a change is on its way.
    [[nodiscard]] SyncRuleRow rowAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    SyncRulesScreen& screen_;
    int count_;  // as told
};

}  // namespace tovri
