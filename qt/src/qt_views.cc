#include "qt_views.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QStackedWidget>
#include <QTabBar>
#include <QTextEdit>
#include <cstdint>
#include <functional>

namespace kolvane::qt {
namespace {

constexpr char kKolvaneWindow[] = "kolvaneWindow";
// Cells looked at in an item view: the visible ones, within this many rows.
constexpr int kMostRowsLooked = 2000;

std::vector<std::shared_ptr<KVHostView>> childViews(QWidget* widget);

// What stands for one part (a tab, a section, a cell) of a widget: the same part of the same
// widget gives the same value.
const void* partIdentity(const QWidget* widget, int part) {
  return reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(widget) +
                                       static_cast<std::uintptr_t>(part) + 1);
}

// A widget of one kind, held weakly: once the widget is gone every call does nothing.
template <class Interface, class Widget = QWidget>
class WidgetView : public Interface {
 public:
  explicit WidgetView(Widget* widget) : widget_(widget) {}
  std::shared_ptr<KVHostView> superview() const override {
    if (!widget_ || widget_->isWindow()) return nullptr;
    return wrapWidget(widget_->parentWidget());
  }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    return widget_ ? childViews(widget_) : std::vector<std::shared_ptr<KVHostView>>();
  }
  std::string className() const override {
    return widget_ ? widget_->metaObject()->className() : "(gone)";
  }
  const void* identity() const override { return widget_.data(); }
  void setNeedsLayout() override {
    if (!widget_) return;
    widget_->updateGeometry();
    widget_->update();
  }

 protected:
  QPointer<Widget> widget_;
};

// A text drawn by a control that has no label of its own for it: read and written through
// the control.
class PartLabel : public KVHostLabel {
 public:
  PartLabel(std::shared_ptr<KVHostView> owner, QWidget* widget, int part, std::string name,
            std::function<QString()> read, std::function<void(const QString&)> write)
      : owner_(std::move(owner)),
        widget_(widget),
        part_(part),
        name_(std::move(name)),
        read_(std::move(read)),
        write_(std::move(write)) {}
  std::shared_ptr<KVHostView> superview() const override { return owner_; }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override { return {}; }
  std::string className() const override { return name_; }
  const void* identity() const override { return partIdentity(widget_.data(), part_); }
  void setNeedsLayout() override {
    if (widget_) widget_->update();
  }
  std::optional<KVAttributedText> attributedText() const override {
    if (!widget_) return std::nullopt;
    const QString text = read_();
    if (text.isEmpty()) return std::nullopt;
    return plainText(text);
  }
  void setText(const std::u16string& text) override {
    if (widget_) write_(toQString(text));
  }
  void setAttributedText(const KVAttributedText& text) override { setText(text.string()); }

 private:
  std::shared_ptr<KVHostView> owner_;
  QPointer<QWidget> widget_;
  int part_;
  std::string name_;
  std::function<QString()> read_;
  std::function<void(const QString&)> write_;
};

class WindowView : public WidgetView<KVHostWindow> {
 public:
  using WidgetView::WidgetView;
  std::shared_ptr<KVHostView> superview() const override { return nullptr; }
  std::vector<std::shared_ptr<KVHostView>> rootControllerViews() const override {
    return subviews();
  }
};

class LabelView : public WidgetView<KVHostLabel, QLabel> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override { return {}; }
  std::optional<KVAttributedText> attributedText() const override {
    if (!widget_ || widget_->text().isEmpty()) return std::nullopt;
    return plainText(widget_->text());
  }
  void setText(const std::u16string& text) override {
    if (widget_) widget_->setText(toQString(text));
  }
  void setAttributedText(const KVAttributedText& text) override { setText(text.string()); }
};

class ButtonView : public WidgetView<KVHostButton, QAbstractButton>,
                   public std::enable_shared_from_this<ButtonView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    QPointer<QAbstractButton> button = widget_;
    if (!button) return {};
    return {std::make_shared<PartLabel>(
        std::const_pointer_cast<ButtonView>(shared_from_this()), button, 0, "QAbstractButton title",
        [button] { return button ? button->text() : QString(); },
        [button](const QString& text) {
          if (button) button->setText(text);
        })};
  }
  std::optional<KVAttributedText> titleLabelText() const override {
    if (!widget_) return std::nullopt;
    return plainText(widget_->text());
  }
  void setTitle(const std::u16string& title) override {
    if (widget_) widget_->setText(toQString(title));
  }
  void setAttributedTitle(const KVAttributedText& title) override { setTitle(title.string()); }
};

std::shared_ptr<KVHostLabel> tabLabel(const std::shared_ptr<KVHostView>& owner, QTabBar* tabs,
                                      int index) {
  QPointer<QTabBar> bar = tabs;
  return std::make_shared<PartLabel>(
      owner, tabs, index, "QTabBar tab",
      [bar, index] { return bar ? bar->tabText(index) : QString(); },
      [bar, index](const QString& text) {
        if (bar) bar->setTabText(index, text);
      });
}

class TabBarView : public WidgetView<KVHostSegmentedControl, QTabBar>,
                   public std::enable_shared_from_this<TabBarView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    std::vector<std::shared_ptr<KVHostView>> tabs;
    const auto self = std::const_pointer_cast<TabBarView>(shared_from_this());
    for (int i = 0; widget_ && i < widget_->count(); ++i) {
      tabs.push_back(tabLabel(self, widget_, i));
    }
    return tabs;
  }
  std::size_t numberOfSegments() const override {
    return widget_ ? static_cast<std::size_t>(widget_->count()) : 0;
  }
  std::u16string titleForSegment(std::size_t index) const override {
    return widget_ ? widget_->tabText(static_cast<int>(index)).toStdU16String() : u"";
  }
  void setTitleForSegment(std::size_t index, const std::u16string& title) override {
    if (widget_) widget_->setTabText(static_cast<int>(index), toQString(title));
  }
};

// One section of a header view.
class HeaderSectionView : public KVHostTableHeader,
                          public std::enable_shared_from_this<HeaderSectionView> {
 public:
  HeaderSectionView(QHeaderView* header, int section) : header_(header), section_(section) {}
  std::shared_ptr<KVHostView> superview() const override { return wrapWidget(header_); }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    QPointer<QHeaderView> header = header_;
    const int section = section_;
    return {std::make_shared<PartLabel>(
        std::const_pointer_cast<HeaderSectionView>(shared_from_this()), header_, section,
        "QHeaderView section", [this] { return QString::fromStdU16String(textLabelText()); },
        [header, section](const QString& text) {
          if (header && header->model()) {
            header->model()->setHeaderData(section, header->orientation(), text);
          }
        })};
  }
  std::string className() const override { return "QHeaderView section"; }
  const void* identity() const override { return partIdentity(header_.data(), section_); }
  std::u16string textLabelText() const override {
    if (!header_ || !header_->model()) return u"";
    return header_->model()
        ->headerData(section_, header_->orientation(), Qt::DisplayRole)
        .toString()
        .toStdU16String();
  }
  void setTextLabelText(const std::u16string& text) override {
    if (header_ && header_->model()) {
      header_->model()->setHeaderData(section_, header_->orientation(), toQString(text));
    }
  }

 private:
  QPointer<QHeaderView> header_;
  int section_;
};

std::shared_ptr<KVHostLabel> cellLabel(const std::shared_ptr<KVHostView>& owner,
                                       QAbstractItemView* view, const QModelIndex& index) {
  QPointer<QAbstractItemView> list = view;
  const QPersistentModelIndex cell(index);
  return std::make_shared<PartLabel>(
      owner, view, index.row() * 4096 + index.column(), "QAbstractItemView cell",
      [cell] { return cell.isValid() ? cell.data(Qt::DisplayRole).toString() : QString(); },
      [list, cell](const QString& text) {
        if (list && cell.isValid() && list->model()) list->model()->setData(cell, text);
      });
}

class ItemListView : public WidgetView<KVHostList, QAbstractItemView>,
                     public std::enable_shared_from_this<ItemListView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    std::vector<std::shared_ptr<KVHostView>> views;
    if (!widget_ || !widget_->model()) return views;
    for (QHeaderView* header : widget_->findChildren<QHeaderView*>(Qt::FindDirectChildrenOnly)) {
      if (!header->isHidden()) views.push_back(wrapWidget(header));
    }
    const auto self = std::const_pointer_cast<ItemListView>(shared_from_this());
    const QAbstractItemModel* model = widget_->model();
    const QRect visible = widget_->viewport()->rect();
    const int rows = std::min(model->rowCount(widget_->rootIndex()), kMostRowsLooked);
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < model->columnCount(widget_->rootIndex()); ++column) {
        const QModelIndex index = model->index(row, column, widget_->rootIndex());
        if (widget_->visualRect(index).intersects(visible)) {
          views.push_back(cellLabel(self, widget_, index));
        }
      }
    }
    return views;
  }
  void reloadData() override {
    if (widget_) widget_->viewport()->update();
  }
};

class HeaderView : public WidgetView<KVHostView, QHeaderView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    std::vector<std::shared_ptr<KVHostView>> sections;
    for (int i = 0; widget_ && i < widget_->count(); ++i) {
      if (!widget_->isSectionHidden(i))
        sections.push_back(std::make_shared<HeaderSectionView>(widget_, i));
    }
    return sections;
  }
};

class LineEditView : public WidgetView<KVHostTextField, QLineEdit>,
                     public std::enable_shared_from_this<LineEditView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    QPointer<QLineEdit> edit = widget_;
    if (!edit || edit->placeholderText().isEmpty()) return {};
    return {std::make_shared<PartLabel>(
        std::const_pointer_cast<LineEditView>(shared_from_this()), edit, 0, "QLineEdit placeholder",
        [edit] { return edit ? edit->placeholderText() : QString(); },
        [edit](const QString& text) {
          if (edit) edit->setPlaceholderText(text);
        })};
  }
  // Qt shares a text's storage between copies: the storage is the placeholder object.
  const void* placeholderIdentity() const override {
    if (!widget_ || widget_->placeholderText().isEmpty()) return nullptr;
    return widget_->placeholderText().constData();
  }
  void setPlaceholder(const std::u16string& placeholder) override {
    if (widget_) widget_->setPlaceholderText(toQString(placeholder));
  }
};

// QTextEdit and QPlainTextEdit: their text is a label inside them.
template <class Edit>
class TextEditView : public WidgetView<KVHostTextView, Edit>,
                     public std::enable_shared_from_this<TextEditView<Edit>> {
 public:
  using WidgetView<KVHostTextView, Edit>::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    QPointer<Edit> edit = this->widget_;
    if (!edit) return {};
    return {std::make_shared<PartLabel>(
        std::const_pointer_cast<TextEditView>(this->shared_from_this()), edit, 0, "text edit text",
        [edit] { return edit ? edit->toPlainText() : QString(); },
        [edit](const QString& text) {
          if (edit) edit->setPlainText(text);
        })};
  }
  KVAttributedText attributedText() const override {
    return this->widget_ ? plainText(this->widget_->toPlainText()) : KVAttributedText();
  }
  void setText(const std::u16string& text) override {
    if (this->widget_) this->widget_->setPlainText(toQString(text));
  }
  void setAttributedText(const KVAttributedText& text) override { setText(text.string()); }
};

using ContainerView = WidgetView<KVHostView>;

std::vector<std::shared_ptr<KVHostView>> childViews(QWidget* widget) {
  std::vector<std::shared_ptr<KVHostView>> views;
  if (auto* stack = qobject_cast<QStackedWidget*>(widget)) {
    // Every page, shown or not.
    for (int i = 0; i < stack->count(); ++i) views.push_back(wrapWidget(stack->widget(i)));
    return views;
  }
  for (QWidget* child : widget->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
    if (child->isWindow() || child->isHidden() || isKolvaneWindow(child)) continue;
    views.push_back(wrapWidget(child));
  }
  return views;
}

}  // namespace

void markAsKolvaneWindow(QWidget* window) { window->setProperty(kKolvaneWindow, true); }

bool isKolvaneWindow(const QWidget* widget) {
  return widget != nullptr && widget->window()->property(kKolvaneWindow).toBool();
}

std::shared_ptr<KVHostView> wrapWidget(QWidget* widget) {
  if (widget == nullptr) return nullptr;
  if (widget->isWindow()) return std::make_shared<WindowView>(widget);
  if (auto* label = qobject_cast<QLabel*>(widget)) return std::make_shared<LabelView>(label);
  if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
    return std::make_shared<ButtonView>(button);
  }
  if (auto* tabs = qobject_cast<QTabBar*>(widget)) return std::make_shared<TabBarView>(tabs);
  if (auto* header = qobject_cast<QHeaderView*>(widget))
    return std::make_shared<HeaderView>(header);
  if (auto* list = qobject_cast<QAbstractItemView*>(widget)) {
    return std::make_shared<ItemListView>(list);
  }
  if (auto* edit = qobject_cast<QLineEdit*>(widget)) return std::make_shared<LineEditView>(edit);
  if (auto* text = qobject_cast<QTextEdit*>(widget)) {
    return std::make_shared<TextEditView<QTextEdit>>(text);
  }
  if (auto* text = qobject_cast<QPlainTextEdit*>(widget)) {
    return std::make_shared<TextEditView<QPlainTextEdit>>(text);
  }
  return std::make_shared<ContainerView>(widget);
}

std::shared_ptr<KVHostWindow> windowOf(QWidget* widget) {
  if (widget == nullptr) return nullptr;
  return std::make_shared<WindowView>(widget->window());
}

std::shared_ptr<KVHostView> hostViewAt(const QPoint& globalPosition) {
  QWidget* widget = QApplication::widgetAt(globalPosition);
  if (widget == nullptr || isKolvaneWindow(widget)) return nullptr;
  // Item views and header views answer through their viewport.
  auto* view = qobject_cast<QAbstractItemView*>(widget->parentWidget());
  if (view != nullptr && view->viewport() == widget) {
    const QPoint point = widget->mapFromGlobal(globalPosition);
    if (auto* header = qobject_cast<QHeaderView*>(view)) {
      const int section = header->logicalIndexAt(point);
      if (section >= 0) return std::make_shared<HeaderSectionView>(header, section);
    } else if (const QModelIndex index = view->indexAt(point); index.isValid()) {
      return cellLabel(wrapWidget(view), view, index);
    }
    return wrapWidget(view);
  }
  if (auto* tabs = qobject_cast<QTabBar*>(widget)) {
    const int index = tabs->tabAt(tabs->mapFromGlobal(globalPosition));
    if (index >= 0) return tabLabel(wrapWidget(tabs), tabs, index);
  }
  return wrapWidget(widget);
}

}  // namespace kolvane::qt
