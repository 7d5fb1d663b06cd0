#include "widgets/rows/RowAccessibility.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <memory>
#include <unordered_map>

#include "widgets/rows/RowListView.h"

namespace tovri {
namespace {

// Registered with Qt as long as it lives, as interfaces must be to be told of in events.
class Registered {
public:
    explicit Registered(QAccessibleInterface* interface) : id_(QAccessible::registerAccessibleInterface(interface)) {}

    Registered(Registered&& other) noexcept : id_(std::exchange(other.id_, 0)) {}

    Registered& operator=(Registered&& other) noexcept {
        std::swap(id_, other.id_);
        return *this;
    }

    ~Registered() {
        if (id_ != 0) QAccessible::deleteAccessibleInterface(id_);
    }

    [[nodiscard]] QAccessibleInterface* get() const { return QAccessible::accessibleInterface(id_); }

private:
    QAccessible::Id id_;
};

// What rows and their buttons have in common: a place in a view that may be gone.
class Part : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    Part(RowListView& view, const QModelIndex& index) : view_(&view), index_(index) {}

    [[nodiscard]] bool isValid() const override { return view_ && index_.isValid(); }

    [[nodiscard]] QObject* object() const override { return nullptr; }

    [[nodiscard]] QWindow* window() const override { return view_ ? view_->window()->windowHandle() : nullptr; }

    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = 0; i < childCount(); ++i)
            if (child(i)->rect().contains(x, y)) return child(i);
        return nullptr;
    }

    void setText(QAccessible::Text, const QString&) override {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

protected:
    [[nodiscard]] RowContent content() const {
        return isValid() ? view_->rows()->contentAt(index_.row()) : RowContent();
    }

    [[nodiscard]] QRect onScreen(const QRect& rect) const {
        return {view_->viewport()->mapToGlobal(rect.topLeft()), rect.size()};
    }

    [[nodiscard]] bool isInSight(const QRect& rect) const { return view_->viewport()->rect().intersects(rect); }

    QPointer<RowListView> view_;
    QPersistentModelIndex index_;
};

class ButtonPart final : public Part {
public:
    ButtonPart(RowListView& view, const QModelIndex& index, int button) : Part(view, index), button_(button) {}

    [[nodiscard]] QAccessibleInterface* parent() const override {
        QAccessibleInterface* list = view_ ? QAccessible::queryAccessibleInterface(view_.data()) : nullptr;
        return list == nullptr ? nullptr : list->child(index_.row());
    }

    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }

    [[nodiscard]] int childCount() const override { return 0; }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        const RowContent row = content();
        return kind == QAccessible::Name && isThere(row) ? button(row).help : QString();
    }

    [[nodiscard]] QRect rect() const override {
        return isValid() ? onScreen(view_->buttonRect(index_.row(), button_)) : QRect();
    }

    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Button; }

    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state;
        const RowContent row = content();
        state.invalid = !isThere(row);
        state.disabled = isThere(row) && !button(row).isEnabled;
        if (!isValid()) return state;
        state.disabled = state.disabled || view_->isInert();
        state.offscreen = !isInSight(view_->buttonRect(index_.row(), button_));
        state.focusable = view_->currentIndex() == index_;  // the Tab key reaches it in the current row
        state.focused = view_->hasFocus() && view_->focusedButtonOf(index_.row()) == button_;
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }

    void doAction(const QString& name) override {
        if (isValid() && name == pressAction()) view_->pressButton(index_.row(), button_);
    }

private:
    [[nodiscard]] bool isThere(const RowContent& row) const { return button_ < static_cast<int>(row.buttons.size()); }

    [[nodiscard]] const InlineButton& button(const RowContent& row) const {
        return row.buttons[static_cast<std::size_t>(button_)];
    }

    int button_;
};

class RowPart final : public Part {
public:
    using Part::Part;

    [[nodiscard]] QAccessibleInterface* parent() const override {
        return view_ ? QAccessible::queryAccessibleInterface(view_.data()) : nullptr;
    }

    [[nodiscard]] int childCount() const override { return static_cast<int>(content().buttons.size()); }

    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount()) return nullptr;
        while (static_cast<int>(buttons_.size()) <= index)
            buttons_.emplace_back(new ButtonPart(*view_, index_, static_cast<int>(buttons_.size())));
        return buttons_[static_cast<std::size_t>(index)].get();
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        for (std::size_t i = 0; i < buttons_.size(); ++i)
            if (buttons_[i].get() == child) return static_cast<int>(i);
        return -1;
    }

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name) return content().title;
        return kind == QAccessible::Description ? content().captionText() : QString();
    }

    [[nodiscard]] QRect rect() const override { return isValid() ? onScreen(view_->visualRect(index_)) : QRect(); }

    [[nodiscard]] QAccessible::Role role() const override {
        return isHeader() ? QAccessible::Heading : QAccessible::ListItem;
    }

    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.offscreen = !isInSight(view_->visualRect(index_));
        if (isHeader()) return state;
        state.disabled = view_->isInert();
        state.selectable = state.focusable = true;
        const std::optional<bool> isOpen = content().isOpen;
        state.expandable = isOpen.has_value();
        state.expanded = isOpen == std::optional(true);
        state.collapsed = isOpen == std::optional(false);
        state.extSelectable = true;
        state.selected = view_->selectionModel()->isSelected(index_);
        state.focused = view_->hasFocus() && view_->currentIndex() == index_ &&
                        view_->focusedButtonOf(index_.row()) == RowLook::noButton;
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override {
        return isHeader() ? QStringList() : QStringList{pressAction(), setFocusAction()};
    }

    void doAction(const QString& name) override {
        if (!isValid() || isHeader()) return;
        view_->setCurrentIndex(index_);
        if (name == pressAction()) emit view_->opened(index_);
    }

private:
    [[nodiscard]] bool isHeader() const { return content().shape == RowShape::header; }

    mutable std::vector<Registered> buttons_;  // as asked for
};

// Rows are made as they are asked for; they follow their row, so they are found again by key.
class ListPart final : public QAccessibleWidget {
public:
    explicit ListPart(RowListView& view) : QAccessibleWidget(&view, QAccessible::List), view_(view) {}

    [[nodiscard]] int childCount() const override { return view_.rows() == nullptr ? 0 : view_.rows()->rowCount(); }

    [[nodiscard]] QAccessibleInterface* child(int row) const override {
        if (row < 0 || row >= childCount()) return nullptr;
        const RowKey key = view_.rows()->keyAt(row);
        auto found = rows_.find(key);
        if (found != rows_.end() && found->second.get()->isValid()) return found->second.get();
        rows_.erase(key);
        if (rows_.size() > 2 * static_cast<std::size_t>(childCount())) forgetRowsThatWent();
        return rows_.emplace(key, Registered(new RowPart(view_, view_.rows()->index(row)))).first->second.get();
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface* wanted) const override {
        const RowListView& view = view_;
        if (wanted == nullptr || view.rows() == nullptr) return -1;
        const QPoint middle = view.viewport()->mapFromGlobal(wanted->rect().center());
        const int row = view.indexAt(middle).row();
        if (row >= 0 && child(row) == wanted) return row;
        for (const auto& [key, part] : rows_)
            if (part.get() == wanted) return rowOf(key);
        return -1;
    }

    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        const QModelIndex index = view_.indexAt(view_.viewport()->mapFromGlobal(QPoint(x, y)));
        return index.isValid() ? child(index.row()) : nullptr;
    }

    [[nodiscard]] QAccessibleInterface* focusChild() const override {
        const int row = view_.hasFocus() && view_.currentIndex().isValid() ? view_.currentIndex().row() : -1;
        QAccessibleInterface* current = child(row);
        const int button = view_.focusedButtonOf(row);
        return current == nullptr || button == RowLook::noButton ? current : current->child(button);
    }

private:
    void forgetRowsThatWent() const {
        std::erase_if(rows_, [](const auto& row) { return !row.second.get()->isValid(); });
    }

    [[nodiscard]] int rowOf(const RowKey& key) const {
        for (int row = 0; row < childCount(); ++row)
            if (view_.rows()->keyAt(row) == key) return row;
        return -1;
    }

    RowListView& view_;
    mutable std::unordered_map<RowKey, Registered> rows_;
};

QAccessibleInterface* makeListPart(const QString&, QObject* object) {
    auto* view = qobject_cast<RowListView*>(object);
    return view == nullptr ? nullptr : new ListPart(*view);
}

}  // namespace

void makeRowListsAccessible() {
    [[maybe_unused]] static const bool isDone = [] {
        QAccessible::installFactory(makeListPart);
        return true;
    }();
}

}  // namespace tovri
