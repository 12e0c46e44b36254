#include "qt_views.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStackedWidget>
#include <QStyle>
#include <QStyleOption>
#include <QStyleOptionButton>
#include <QTabBar>
#include <QTextDocument>
#include <QTextEdit>
#include <cstdint>
#include <functional>

#include "kolvane/cues.h"

namespace kolvane::qt {
namespace {

constexpr char kKolvaneWindow[] = "kolvaneWindow";
// Cells looked at in an item view: the visible ones, within this many rows.
constexpr int kMostRowsLooked = 2000;

std::vector<std::shared_ptr<KVHostView>> childViews(QWidget* widget);

// What stands for one part (a tab, a section, a cell) of a widget: the same part of the same
// widget gives the same value.
QString withoutCues(const QString& text) {
  return QString::fromStdU16String(kv_stringByRemovingCues(text.toStdU16String()));
}

const void* partIdentity(const void* widget, int part) {
  return reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(widget) +
                                       static_cast<std::uintptr_t>(part) + 1);
}

// What the app sets on a widget or an action (or on one of the widget's ancestors) whose texts
// are data, not wording: the list of the window's texts does not count them as untranslatable.
constexpr char kNotTranslatable[] = "kolvaneNotTranslatable";

bool markedNotTranslatable(const QObject* object) {
  for (; object != nullptr; object = object->parent()) {
    if (object->property(kNotTranslatable).toBool()) return true;
  }
  return false;
}

// A widget's name in a text's place: the app's object name, else its class; none for a plain
// container without a name and for Qt's own inner widgets ("qt_…"), which say nothing to the
// reader.
std::string widgetPathName(const QWidget* widget) {
  const QString name = widget->objectName();
  if (name.startsWith(QLatin1String("qt_"))) return {};
  if (!name.isEmpty()) return name.toStdString();
  const char* className = widget->metaObject()->className();
  return widget->isWindow() || std::string_view(className) != "QWidget" ? className : "";
}

// `part` (in the widget's coordinates; the whole widget when none) on the screen, while the
// widget is shown.
// Where `part` of the widget (all of it when none) is seen on screen: clipped by the widget and
// every ancestor up to its window (a scroll area's viewport hides what is scrolled away); none
// when nothing of it is seen.
std::optional<KVRect> screenRect(const QWidget* widget, const std::optional<QRect>& part) {
  if (widget == nullptr || !widget->isVisible()) return std::nullopt;
  QRect seen = part.value_or(widget->rect()) & widget->rect();
  seen.moveTopLeft(widget->mapToGlobal(seen.topLeft()));
  for (const QWidget* above = widget; !above->isWindow() && !seen.isEmpty();) {
    above = above->parentWidget();
    seen &= QRect(above->mapToGlobal(QPoint(0, 0)), above->size());
  }
  if (seen.isEmpty()) return std::nullopt;
  return KVRect{static_cast<double>(seen.x()), static_cast<double>(seen.y()),
                static_cast<double>(seen.width()), static_cast<double>(seen.height())};
}

// Text measured as drawn: cues take no room, and a mnemonic's "&" is not drawn.
KVTextBox measuredBox(const QFont& font, bool mnemonics) {
  KVTextBox box;
  const QFontMetricsF metrics(font);
  box.lineHeight = metrics.height();
  box.widestCharacter = metrics.maxWidth();
  box.advance = [metrics, mnemonics](std::u16string_view text) {
    QString shown = QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
    if (mnemonics) {
      shown.replace(QLatin1String("&&"), QChar(1))
          .remove(QLatin1Char('&'))
          .replace(QChar(1), QLatin1Char('&'));
    }
    return metrics.horizontalAdvance(shown);
  };
  return box;
}

// The part of `room` (in the widget's coordinates) inside its window and on its screen: a window
// made wider than the screen by its longer texts cuts them at the screen's edge. (A scroll area
// clips too, but scrolling shows the rest.)
QRect seenPart(const QWidget& widget, const QRect& room) {
  const QWidget* window = widget.window();
  QRect seen = room & QRect(widget.mapFrom(window, QPoint(0, 0)), window->size());
  if (const QScreen* screen = widget.screen()) {
    seen &= QRect(widget.mapFromGlobal(screen->geometry().topLeft()), screen->geometry().size());
  }
  return seen;
}

std::optional<KVTextBox> labelTextBox(const QLabel& label) {
  const bool rich = label.textFormat() == Qt::RichText ||
                    (label.textFormat() == Qt::AutoText && Qt::mightBeRichText(label.text()));
  if (rich) return std::nullopt;
  KVTextBox box = measuredBox(label.font(), label.buddy() != nullptr);
  const int margin = label.margin();
  const QRect room =
      seenPart(label, label.contentsRect().adjusted(margin, margin, -margin, -margin));
  box.width = room.width() - std::max(label.indent(), 0);
  box.height = room.height();
  box.wordWrap = label.wordWrap();
  return box;
}

// The contents rectangle the widget's style draws a button's text in.
std::optional<KVTextBox> buttonTextBox(const QAbstractButton& button) {
  QStyle::SubElement contents;
  if (qobject_cast<const QPushButton*>(&button) != nullptr) {
    contents = QStyle::SE_PushButtonContents;
  } else if (qobject_cast<const QCheckBox*>(&button) != nullptr) {
    contents = QStyle::SE_CheckBoxContents;
  } else if (qobject_cast<const QRadioButton*>(&button) != nullptr) {
    contents = QStyle::SE_RadioButtonContents;
  } else {
    return std::nullopt;
  }
  QStyleOptionButton option;
  option.initFrom(&button);
  option.text = button.text();
  option.icon = button.icon();
  option.iconSize = button.iconSize();
  const QRect room = seenPart(button, button.style()->subElementRect(contents, &option, &button));
  KVTextBox box = measuredBox(button.font(), true);
  const int icon = button.icon().isNull() ? 0 : button.iconSize().width() + 4;
  box.width = room.width() - icon;
  return box;
}

// The room a delegate draws a cell's text in: the cell less its margins and its icon.
std::optional<KVTextBox> cellTextBox(const QAbstractItemView& view, const QModelIndex& index) {
  const QRect cell = view.visualRect(index);
  if (cell.isEmpty()) return std::nullopt;
  KVTextBox box = measuredBox(view.font(), false);
  const int margin = view.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &view) + 1;
  const bool icon = index.data(Qt::DecorationRole).isValid();
  box.width = cell.width() - 2 * margin - (icon ? view.iconSize().width() + margin : 0);
  box.height = cell.height();
  box.wordWrap = view.property("wordWrap").toBool();
  return box;
}

std::vector<std::shared_ptr<KVHostLabel>> attachedTextsOf(QWidget* widget);

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
  std::string pathName() const override { return widget_ ? widgetPathName(widget_) : "(gone)"; }
  std::vector<std::shared_ptr<KVHostLabel>> attachedTexts() const override {
    return widget_ ? attachedTextsOf(widget_) : std::vector<std::shared_ptr<KVHostLabel>>();
  }
  std::optional<KVRect> rectOnScreen() const override { return screenRect(widget_, {}); }

 protected:
  QPointer<Widget> widget_;
};

// A text drawn by a control that has no label of its own for it: read and written through
// the control.
struct Part {
  std::string name;
  std::function<QString()> read;
  std::function<void(const QString&)> write;
  // Where the part is drawn in the widget, none when it is not drawn (a tooltip, an item not
  // shown); no function for the whole widget.
  std::function<std::optional<QRect>()> rect;
  // The room the part's text is drawn in, when known.
  std::function<std::optional<KVTextBox>()> box;
  // The text is the user's: what was typed in an editable field.
  std::function<bool()> userContent;
};

class PartLabel : public KVHostLabel {
 public:
  PartLabel(std::shared_ptr<KVHostView> owner, QWidget* widget, int part, Part access)
      : owner_(std::move(owner)), widget_(widget), part_(part), access_(std::move(access)) {}
  PartLabel(std::shared_ptr<KVHostView> owner, QWidget* widget, int part, std::string name,
            std::function<QString()> read, std::function<void(const QString&)> write)
      : PartLabel(std::move(owner), widget, part,
                  Part{std::move(name), std::move(read), std::move(write), {}, {}, {}}) {}
  std::shared_ptr<KVHostView> superview() const override { return owner_; }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override { return {}; }
  std::string className() const override { return access_.name; }
  const void* identity() const override { return partIdentity(widget_.data(), part_); }
  void setNeedsLayout() override {
    if (widget_) widget_->update();
  }
  std::optional<KVAttributedText> attributedText() const override {
    if (!widget_) return std::nullopt;
    const QString text = access_.read();
    if (text.isEmpty()) return std::nullopt;
    return plainText(text);
  }
  void setText(const std::u16string& text) override {
    if (widget_) access_.write(toQString(text));
  }
  void setAttributedText(const KVAttributedText& text) override { setText(text.string()); }
  std::optional<KVRect> rectOnScreen() const override {
    if (!widget_) return std::nullopt;
    if (!access_.rect) return screenRect(widget_, std::nullopt);
    const auto part = access_.rect();
    return part ? screenRect(widget_, part) : std::nullopt;
  }
  bool notForTranslation() const override {
    return widget_ &&
           (markedNotTranslatable(widget_) || (access_.userContent && access_.userContent()));
  }
  std::optional<KVTextBox> textBox() const override {
    return widget_ && access_.box && widget_->isVisible() ? access_.box() : std::nullopt;
  }

 private:
  std::shared_ptr<KVHostView> owner_;
  QPointer<QWidget> widget_;
  int part_;
  Part access_;
};

// The image's pixels where they are, in 32-bit 0xAARRGGBB (a window is drawn in it, or close).
std::optional<KVWindowPixels> pixelsOf(QImage image) {
  if (image.isNull()) return std::nullopt;
  if (image.format() != QImage::Format_RGB32 && image.format() != QImage::Format_ARGB32 &&
      image.format() != QImage::Format_ARGB32_Premultiplied) {
    image = image.convertToFormat(QImage::Format_RGB32);
  }
  auto held = std::make_shared<const QImage>(std::move(image));
  const auto* rows = reinterpret_cast<const std::uint32_t*>(held->constBits());
  return KVWindowPixels{held, rows, static_cast<std::size_t>(held->bytesPerLine()) / 4,
                        held->width(), held->height()};
}

class WindowView : public WidgetView<KVHostWindow> {
 public:
  using WidgetView::WidgetView;
  std::shared_ptr<KVHostView> superview() const override { return nullptr; }
  std::vector<std::shared_ptr<KVHostView>> rootControllerViews() const override {
    return subviews();
  }
  std::optional<KVWindowPixels> picture() const override {
    if (!widget_ || !widget_->isVisible()) return std::nullopt;
    return pixelsOf(widget_->grab().toImage());
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
  bool notForTranslation() const override {
    return widget_ && (markedNotTranslatable(widget_) ||
                       (widget_->textInteractionFlags() & Qt::TextEditable) != 0);
  }
  std::optional<KVTextBox> textBox() const override {
    if (!widget_ || !widget_->isVisible()) return std::nullopt;
    return labelTextBox(*widget_);
  }
};

class ButtonView : public WidgetView<KVHostButton, QAbstractButton>,
                   public std::enable_shared_from_this<ButtonView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    QPointer<QAbstractButton> button = widget_;
    if (!button) return {};
    Part title{"title",
               [button] { return button ? button->text() : QString(); },
               [button](const QString& text) {
                 if (button) button->setText(text);
               },
               {},
               [button] { return buttonTextBox(*button); },
               {}};
    return {std::make_shared<PartLabel>(std::const_pointer_cast<ButtonView>(shared_from_this()),
                                        button, 0, std::move(title))};
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
      owner, tabs, index,
      Part{"tab " + std::to_string(index + 1),
           [bar, index] { return bar ? bar->tabText(index) : QString(); },
           [bar, index](const QString& text) {
             if (bar) bar->setTabText(index, text);
           },
           [bar, index] { return bar ? std::optional<QRect>(bar->tabRect(index)) : std::nullopt; },
           {},
           {}});
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

// Where a header draws its section; none for a hidden one.
std::optional<QRect> sectionRect(const QPointer<QHeaderView>& header, int section) {
  if (!header || header->isSectionHidden(section)) return std::nullopt;
  const int start = header->sectionViewportPosition(section);
  const int size = header->sectionSize(section);
  return header->orientation() == Qt::Horizontal ? QRect(start, 0, size, header->height())
                                                 : QRect(0, start, header->width(), size);
}

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
        Part{"QHeaderView section",
             [this] { return QString::fromStdU16String(textLabelText()); },
             [header, section](const QString& text) {
               if (header && header->model()) {
                 header->model()->setHeaderData(section, header->orientation(), text);
               }
             },
             [header, section] { return sectionRect(header, section); },
             {},
             {}})};
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
  const auto rect = [list, cell]() -> std::optional<QRect> {
    if (!list || !cell.isValid()) return std::nullopt;
    const QRect visual = list->visualRect(cell);
    return QRect(list->viewport()->mapTo(list, visual.topLeft()), visual.size());
  };
  return std::make_shared<PartLabel>(
      owner, view, index.row() * 4096 + index.column(),
      Part{
          "cell " + std::to_string(index.row() + 1) + "," + std::to_string(index.column() + 1),
          [cell] { return cell.isValid() ? cell.data(Qt::DisplayRole).toString() : QString(); },
          [list, cell](const QString& text) {
            if (list && cell.isValid() && list->model()) list->model()->setData(cell, text);
          },
          rect,
          [list, cell] { return list && cell.isValid() ? cellTextBox(*list, cell) : std::nullopt; },
          {}});
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
        std::const_pointer_cast<TextEditView>(this->shared_from_this()), edit, 0,
        Part{"text",
             [edit] { return edit ? edit->toPlainText() : QString(); },
             [edit](const QString& text) {
               if (edit) edit->setPlainText(text);
             },
             {},
             {},
             [edit] { return edit && !edit->isReadOnly(); }})};
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

// Where a text the widget holds but does not draw (a tip, a window's title) is drawn: nowhere.
std::optional<QRect> notDrawn() { return std::nullopt; }

// One text of a widget read and written through a getter and a setter of its own, drawn at
// `rect` in it.
template <class Widget>
std::shared_ptr<KVHostLabel> widgetText(QWidget* shown, Widget* widget, int part, std::string name,
                                        QString (Widget::*read)() const,
                                        void (Widget::*write)(const QString&),
                                        std::function<std::optional<QRect>()> rect) {
  QPointer<Widget> target = widget;
  return std::make_shared<PartLabel>(
      wrapWidget(shown), shown, part,
      Part{std::move(name),
           [target, read] { return target ? (target.data()->*read)() : QString(); },
           [target, write](const QString& text) {
             if (target) (target.data()->*write)(text);
           },
           std::move(rect),
           {},
           {}});
}

// A group box draws its title in a place of its own, which its style knows.
std::optional<QRect> groupBoxTitleRect(const QPointer<QGroupBox>& group) {
  if (!group) return std::nullopt;
  QStyleOptionGroupBox option;
  option.initFrom(group);
  option.text = group->title();
  option.subControls = QStyle::SC_GroupBoxLabel;
  option.lineWidth = 1;
  option.textAlignment = group->alignment();
  if (group->isFlat()) option.features |= QStyleOptionFrame::Flat;
  return group->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel,
                                        group);
}

// A combo box draws its current item; the others only in its list, when it is open.
std::shared_ptr<KVHostLabel> comboItem(QComboBox* combo, int index) {
  QPointer<QComboBox> box = combo;
  return std::make_shared<PartLabel>(
      wrapWidget(combo), combo, 1000 + index,
      Part{"item " + std::to_string(index + 1),
           [box, index] { return box ? box->itemText(index) : QString(); },
           [box, index](const QString& text) {
             if (box) box->setItemText(index, text);
           },
           [box, index]() -> std::optional<QRect> {
             if (!box || box->currentIndex() != index) return std::nullopt;
             return box->rect();
           },
           {},
           {}});
}

std::shared_ptr<KVHostLabel> lineEditText(QLineEdit* edit) {
  QPointer<QLineEdit> field = edit;
  return std::make_shared<PartLabel>(wrapWidget(edit), edit, 1,
                                     Part{"text",
                                          [field] { return field ? field->text() : QString(); },
                                          [field](const QString& text) {
                                            if (field) field->setText(text);
                                          },
                                          {},
                                          {},
                                          [field] { return field && !field->isReadOnly(); }});
}

// Parts numbered apart from a widget's own parts (tabs, cells, items).
enum AttachedPart : int {
  kToolTip = 1'000'000,
  kStatusTip,
  kWhatsThis,
  kWindowTitle,
  kGroupBoxTitle,
};

std::vector<std::shared_ptr<KVHostLabel>> attachedTextsOf(QWidget* widget) {
  std::vector<std::shared_ptr<KVHostLabel>> texts;
  // Most widgets have none of these: a label is made only for a text there is.
  const auto add = [&texts, widget](auto* owner, int part, const char* name, auto read, auto write,
                                    std::function<std::optional<QRect>()> rect) {
    if (!(owner->*read)().isEmpty()) {
      texts.push_back(widgetText(widget, owner, part, name, read, write, std::move(rect)));
    }
  };
  if (widget->isWindow()) {
    add(widget, kWindowTitle, "title", &QWidget::windowTitle, &QWidget::setWindowTitle, notDrawn);
  }
  add(widget, kToolTip, "tooltip", &QWidget::toolTip, &QWidget::setToolTip, notDrawn);
  add(widget, kStatusTip, "status tip", &QWidget::statusTip, &QWidget::setStatusTip, notDrawn);
  add(widget, kWhatsThis, "what's this", &QWidget::whatsThis, &QWidget::setWhatsThis, notDrawn);
  if (auto* group = qobject_cast<QGroupBox*>(widget)) {
    add(group, kGroupBoxTitle, "title", &QGroupBox::title, &QGroupBox::setTitle,
        [group = QPointer<QGroupBox>(group)] { return groupBoxTitleRect(group); });
  }
  if (auto* combo = qobject_cast<QComboBox*>(widget)) {
    for (int i = 0; i < std::min(combo->count(), kMostRowsLooked); ++i) {
      if (!combo->itemText(i).isEmpty()) texts.push_back(comboItem(combo, i));
    }
  }
  if (auto* edit = qobject_cast<QLineEdit*>(widget); edit != nullptr && !edit->text().isEmpty()) {
    texts.push_back(lineEditText(edit));
  }
  return texts;
}

// The text of an action as a menu shows it: cues and mnemonics taken off, for a text's place.
std::string menuPathName(const QString& text) {
  QString shown = withoutCues(text);
  shown.replace(QLatin1String("&&"), QChar(1))
      .remove(QLatin1Char('&'))
      .replace(QChar(1), QLatin1Char('&'));
  return shown.toStdString();
}

constexpr char kItemName[] = "item";

// A text of an action: its own (what a menu item or a menu's title shows) or one of its tips.
class ActionText : public KVHostLabel {
 public:
  using Read = QString (QAction::*)() const;
  using Write = void (QAction::*)(const QString&);
  ActionText(std::shared_ptr<KVHostView> owner, QAction* action, QWidget* shownIn, std::string name,
             Read read, Write write)
      : owner_(std::move(owner)),
        action_(action),
        shownIn_(shownIn),
        name_(std::move(name)),
        read_(read),
        write_(write) {}
  std::shared_ptr<KVHostView> superview() const override { return owner_; }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override { return {}; }
  std::string className() const override { return "QAction " + name_; }
  // A menu item is named by its text; a menu's title and a tip by what they are.
  std::string pathName() const override {
    return name_ == kItemName && action_ ? menuPathName(action_->text()) : name_;
  }
  const void* identity() const override {
    return partIdentity(action_.data(), isOwnText() ? 0 : 1 + static_cast<int>(name_.size()));
  }
  std::optional<KVAttributedText> attributedText() const override {
    if (!action_) return std::nullopt;
    const QString text = (action_.data()->*read_)();
    // A tooltip Qt made of the action's text is no text of its own.
    if (text.isEmpty() ||
        (!isOwnText() && read_ == &QAction::toolTip &&
         withoutCues(text) == QString::fromStdString(menuPathName(action_->text())))) {
      return std::nullopt;
    }
    return plainText(text);
  }
  void setText(const std::u16string& text) override {
    if (action_) (action_.data()->*write_)(toQString(text));
  }
  void setAttributedText(const KVAttributedText& text) override { setText(text.string()); }
  std::vector<std::shared_ptr<KVHostLabel>> attachedTexts() const override {
    if (!isOwnText() || !action_) return {};
    std::vector<std::shared_ptr<KVHostLabel>> tips;
    const std::pair<const char*, std::pair<Read, Write>> kinds[] = {
        {"tooltip", {&QAction::toolTip, &QAction::setToolTip}},
        {"status tip", {&QAction::statusTip, &QAction::setStatusTip}},
        {"what's this", {&QAction::whatsThis, &QAction::setWhatsThis}}};
    for (const auto& [name, access] : kinds) {
      auto tip = std::make_shared<ActionText>(owner_, action_, shownIn_, name, access.first,
                                              access.second);
      if (tip->attributedText()) tips.push_back(std::move(tip));
    }
    return tips;
  }
  std::optional<KVRect> rectOnScreen() const override {
    if (!action_ || !shownIn_ || !isOwnText()) return std::nullopt;
    if (auto* menu = qobject_cast<QMenu*>(shownIn_)) {
      return screenRect(menu, menu->actionGeometry(action_));
    }
    if (auto* bar = qobject_cast<QMenuBar*>(shownIn_)) {
      return screenRect(bar, bar->actionGeometry(action_));
    }
    return std::nullopt;
  }
  bool notForTranslation() const override { return action_ && markedNotTranslatable(action_); }

 private:
  bool isOwnText() const { return read_ == &QAction::text; }

  std::shared_ptr<KVHostView> owner_;
  QPointer<QAction> action_;
  QPointer<QWidget> shownIn_;
  std::string name_;
  Read read_;
  Write write_;
};

std::shared_ptr<KVHostLabel> actionText(std::shared_ptr<KVHostView> owner, QAction* action,
                                        QWidget* shownIn, std::string name = kItemName) {
  return std::make_shared<ActionText>(std::move(owner), action, shownIn, std::move(name),
                                      &QAction::text, &QAction::setText);
}

// The items of a menu bar or a menu: a menu for each submenu, a label for each other action.
std::vector<std::shared_ptr<KVHostView>> menuItems(const std::shared_ptr<KVHostView>& owner,
                                                   QWidget* shownIn) {
  std::vector<std::shared_ptr<KVHostView>> items;
  for (QAction* action : shownIn->actions()) {
    if (action->isSeparator()) continue;
    if (QMenu* menu = action->menu()) {
      items.push_back(wrapWidget(menu));
    } else {
      items.push_back(actionText(owner, action, shownIn));
    }
  }
  return items;
}

// A menu, open or not: its title (the text of its action where it is shown) and its items.
class MenuView : public WidgetView<KVHostView, QMenu>,
                 public std::enable_shared_from_this<MenuView> {
 public:
  using WidgetView::WidgetView;
  std::shared_ptr<KVHostView> superview() const override {
    return widget_ ? wrapWidget(widget_->parentWidget()) : nullptr;
  }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    if (!widget_) return {};
    return menuItems(std::const_pointer_cast<MenuView>(shared_from_this()), widget_);
  }
  std::string pathName() const override {
    return widget_ ? menuPathName(widget_->title()) : "(gone)";
  }
  std::vector<std::shared_ptr<KVHostLabel>> attachedTexts() const override {
    if (!widget_) return {};
    auto title = actionText(std::const_pointer_cast<MenuView>(shared_from_this()),
                            widget_->menuAction(), widget_->parentWidget(), "title");
    if (!title->attributedText()) return {};
    return {std::move(title)};
  }
};

class MenuBarView : public WidgetView<KVHostView, QMenuBar>,
                    public std::enable_shared_from_this<MenuBarView> {
 public:
  using WidgetView::WidgetView;
  std::vector<std::shared_ptr<KVHostView>> subviews() const override {
    if (!widget_) return {};
    return menuItems(std::const_pointer_cast<MenuBarView>(shared_from_this()), widget_);
  }
};

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

void makeOverlay(QWidget* overlay, const QString& name) {
  overlay->setWindowFlags(Qt::ToolTip | Qt::FramelessWindowHint);
  overlay->setAttribute(Qt::WA_ShowWithoutActivating);
  overlay->setAttribute(Qt::WA_TransparentForMouseEvents);
  overlay->setObjectName(name);
  markAsKolvaneWindow(overlay);
}

bool isKolvaneWindow(const QWidget* widget) {
  return widget != nullptr && widget->window()->property(kKolvaneWindow).toBool();
}

std::shared_ptr<KVHostView> wrapWidget(QWidget* widget) {
  if (widget == nullptr) return nullptr;
  // A menu is a window of its own while it is open, and belongs to its menu bar all the same.
  if (auto* menu = qobject_cast<QMenu*>(widget)) return std::make_shared<MenuView>(menu);
  if (widget->isWindow()) return std::make_shared<WindowView>(widget);
  if (auto* bar = qobject_cast<QMenuBar*>(widget)) return std::make_shared<MenuBarView>(bar);
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
  // A menu item or a menu's title in the bar: its own text.
  if (qobject_cast<QMenu*>(widget) != nullptr || qobject_cast<QMenuBar*>(widget) != nullptr) {
    QAction* action = nullptr;
    if (auto* menu = qobject_cast<QMenu*>(widget))
      action = menu->actionAt(menu->mapFromGlobal(globalPosition));
    if (auto* bar = qobject_cast<QMenuBar*>(widget))
      action = bar->actionAt(bar->mapFromGlobal(globalPosition));
    if (action != nullptr && !action->isSeparator())
      return actionText(wrapWidget(widget), action, widget);
  }
  return wrapWidget(widget);
}

}  // namespace kolvane::qt
