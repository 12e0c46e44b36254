#include "qt_tool_screens.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHostAddress>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPainterPath>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <QVariantAnimation>
#include <algorithm>
#include <cmath>
#include <map>

namespace kolvane::qt {
namespace {

QString qs(const std::u16string& text) { return QString::fromStdU16String(text); }

class ScreenView : public QWidget {
 public:
  using QWidget::QWidget;
  virtual void refresh() = 0;
};

QLabel* smallLabel(const std::u16string& text, QWidget* parent) {
  auto* label = new QLabel(parent);
  // Footers carry servers' words (why a string was refused): text, never markup.
  label->setTextFormat(Qt::PlainText);
  label->setText(qs(text));
  label->setWordWrap(true);
  label->setStyleSheet(QStringLiteral("color: #6d6d72; font-size: 11px; padding: 2px 8px;"));
  return label;
}

// The menu: its sections as headed groups of buttons, the footers, the version text.
class MenuView : public ScreenView {
 public:
  MenuView(std::shared_ptr<KVActionsMenu> menu, QWidget* parent)
      : ScreenView(parent), menu_(std::move(menu)) {
    auto* layout = new QVBoxLayout(this);
    scroll_ = new QScrollArea(this);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    layout->addWidget(scroll_, 1);
    version_ = smallLabel(menu_->versionText(), this);
    layout->addWidget(version_);
    refresh();
  }

  void refresh() override {
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    const auto sections = menu_->sections();
    for (std::size_t section = 0; section < sections.size(); ++section) {
      const KVMenuSection& items = sections[section];
      if (!items.header.empty()) layout->addWidget(smallLabel(items.header, content));
      for (std::size_t row = 0; row < items.rows.size(); ++row) {
        layout->addWidget(rowButton(items.rows[row], section, row, content));
      }
      if (!items.footer.empty()) layout->addWidget(smallLabel(items.footer, content));
      layout->addSpacing(12);
    }
    layout->addStretch();
    // The keyboard stays on the row it was on, though every row is made anew; the window's
    // focus counts even before the window is active.
    const QWidget* focusedWidget = window()->focusWidget();
    const bool rowFocused = focusedWidget != nullptr && scroll_->widget() != nullptr &&
                            scroll_->widget()->isAncestorOf(focusedWidget);
    const QString focused = rowFocused ? focusedWidget->objectName() : QString();
    // The old rows go once the click that may have led here has returned.
    if (QWidget* old = scroll_->takeWidget()) old->deleteLater();
    scroll_->setWidget(content);
    setFocusProxy(firstRow(content, focused));
    if (focusProxy() != nullptr && (rowFocused || focusedWidget == nullptr)) {
      focusProxy()->setFocus();
    }
  }

 private:
  QPushButton* rowButton(const KVMenuRow& row, std::size_t section, std::size_t index,
                         QWidget* parent) {
    QString text = qs(row.title);
    if (row.disclosure) text += QStringLiteral("   ›");
    if (!row.detail.empty()) text += QLatin1Char('\n') + qs(row.detail);
    auto* button = new QPushButton(text, parent);
    button->setObjectName(qs(row.title));
    button->setEnabled(row.enabled);
    button->setStyleSheet(
        (row.highlighted ? QStringLiteral("QPushButton { text-align: left; padding: 8px; "
                                          "color: #2ca5c8; font-weight: bold; }")
                         : QStringLiteral("QPushButton { text-align: left; padding: 8px; }")) +
        QStringLiteral("QPushButton:focus { border: 2px solid #2ca5c8; border-radius: 4px; }"));
    connect(button, &QPushButton::clicked, this,
            [this, section, index] { menu_->selectRow(section, index); });
    return button;
  }

  // The enabled row named `name`, else the first enabled one but "Logout": Enter on a menu
  // just opened must not sign the reviewer out.
  static QPushButton* firstRow(QWidget* content, const QString& name) {
    QPushButton* first = nullptr;
    for (QPushButton* button : content->findChildren<QPushButton*>()) {
      if (!button->isEnabled()) continue;
      if (button->objectName() == name) return button;
      if (first == nullptr && button->objectName() != QLatin1String("Logout")) first = button;
    }
    return first;
  }

  std::shared_ptr<KVActionsMenu> menu_;
  QScrollArea* scroll_ = nullptr;
  QLabel* version_ = nullptr;
};

// The page the browser shows once the loopback has its answer.
QByteArray loopbackAnswer(KVRedirectOutcome outcome) {
  const bool taken = outcome == KVRedirectOutcome::accepted;
  const QByteArray page =
      "<!doctype html><meta charset=\"utf-8\"><title>Kolvane</title><p>" +
      QByteArray(taken ? "You can close this page and go back to the app."
                       : "This sign-in link is not the one the app is waiting for. Go back to "
                         "the app and sign in again from there.") +
      "</p>";
  return QByteArray(taken ? "HTTP/1.1 200 OK" : "HTTP/1.1 400 Bad Request") +
         "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
         QByteArray::number(page.size()) + "\r\nConnection: close\r\n\r\n" + page;
}

// The login: a loopback listener for the sign-on page's redirect; the page itself is in the
// browser.
class LoginView : public ScreenView {
 public:
  static constexpr int kRequestTimeoutMilliseconds = 10'000;

  LoginView(std::shared_ptr<KVLoginScreen> login, QWidget* parent)
      : ScreenView(parent), login_(std::move(login)) {
    auto* layout = new QVBoxLayout(this);
    message_ = new QLabel(this);
    message_->setWordWrap(true);
    message_->setAlignment(Qt::AlignCenter);
    address_ = new QLineEdit(this);
    address_->setReadOnly(true);
    address_->setObjectName(QStringLiteral("signOnAddress"));
    auto* buttons = new QHBoxLayout;
    auto* openAgain = new QPushButton(QStringLiteral("Open again"), this);
    auto* copy = new QPushButton(QStringLiteral("Copy link"), this);
    buttons->addStretch();
    buttons->addWidget(openAgain);
    buttons->addWidget(copy);
    buttons->addStretch();
    layout->addStretch();
    layout->addWidget(message_);
    layout->addWidget(address_);
    layout->addLayout(buttons);
    layout->addStretch();
    connect(openAgain, &QPushButton::clicked, this, [this] { login_->openSignOnPageAgain(); });
    connect(copy, &QPushButton::clicked, this, [this] {
      QGuiApplication::clipboard()->setText(QString::fromStdString(login_->signOnAddress()));
    });
    server_.listen(QHostAddress::LocalHost, 0);
    connect(&server_, &QTcpServer::newConnection, this, [this] { accept(); });
    login_->loadView(kv_loopbackSignOnChannel(server_.serverPort()));
    refresh();
  }

  void refresh() override {
    message_->setText(qs(login_->message()));
    address_->setText(QString::fromStdString(login_->signOnAddress()));
    address_->setCursorPosition(0);
  }

 private:
  void accept() {
    while (QTcpSocket* socket = server_.nextPendingConnection()) {
      // What one connection sent lives and dies with it.
      auto request = std::make_shared<KVLoopbackRequest>();
      connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
      connect(socket, &QTcpSocket::readyRead, this,
              [this, socket, request] { read(socket, *request); });
      QTimer::singleShot(kRequestTimeoutMilliseconds, socket, [socket] { socket->abort(); });
    }
  }

  void read(QTcpSocket* socket, KVLoopbackRequest& request) {
    const QByteArray bytes = socket->readAll();
    switch (request.append(std::string_view(bytes.constData(), bytes.size()))) {
      case KVLoopbackRequest::State::reading:
        return;
      case KVLoopbackRequest::State::refused:
        return socket->abort();
      case KVLoopbackRequest::State::complete:
        break;
    }
    disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
    const std::string url =
        "http://127.0.0.1:" + std::to_string(server_.serverPort()) + request.target();
    socket->write(loopbackAnswer(login_->receiveRedirect(url)));
    socket->disconnectFromHost();
  }

  std::shared_ptr<KVLoginScreen> login_;
  QLabel* message_ = nullptr;
  QLineEdit* address_ = nullptr;
  QTcpServer server_;
};

// A list: section headers, the entries, a check mark at the current one.
class ChoiceView : public ScreenView {
 public:
  static constexpr int kSectionRole = Qt::UserRole;
  static constexpr int kItemRole = Qt::UserRole + 1;

  ChoiceView(std::shared_ptr<KVChoiceScreen> choices, QWidget* parent)
      : ScreenView(parent), choices_(std::move(choices)) {
    auto* layout = new QVBoxLayout(this);
    list_ = new QListWidget(this);
    layout->addWidget(list_);
    setFocusProxy(list_);
    list_->installEventFilter(this);
    connect(list_, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { choose(item); });
    refresh();
  }

  // Enter chooses the current entry, as a click does.
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == list_ && event->type() == QEvent::KeyPress) {
      const int key = static_cast<QKeyEvent*>(event)->key();
      if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        choose(list_->currentItem());
        return true;
      }
    }
    return ScreenView::eventFilter(watched, event);
  }

  void refresh() override {
    list_->clear();
    const auto sections = choices_->choiceSections();
    for (std::size_t section = 0; section < sections.size(); ++section) {
      if (sections[section].items.empty()) continue;
      if (!sections[section].header.empty()) {
        auto* header = new QListWidgetItem(qs(sections[section].header), list_);
        header->setFlags(Qt::NoItemFlags);
      }
      for (std::size_t index = 0; index < sections[section].items.size(); ++index) {
        const bool chosen = sections[section].chosen == index;
        auto* item = new QListWidgetItem((chosen ? QStringLiteral("✓ ") : QStringLiteral("    ")) +
                                             qs(sections[section].items[index]),
                                         list_);
        item->setData(kSectionRole, static_cast<qulonglong>(section));
        item->setData(kItemRole, static_cast<qulonglong>(index));
        if (chosen || list_->currentItem() == nullptr) list_->setCurrentItem(item);
      }
    }
  }

 private:
  void choose(QListWidgetItem* item) {
    if (item == nullptr || !item->data(kItemRole).isValid() || choosing_) return;
    // One choice per list: a double click or Enter after a click chooses nothing more.
    choosing_ = true;
    const auto section = item->data(kSectionRole).toULongLong();
    const auto index = item->data(kItemRole).toULongLong();
    // The list may close as it answers: it goes after this click.
    QTimer::singleShot(0, this, [this, section, index] {
      choices_->choose(section, index);
      choosing_ = false;
    });
  }

  std::shared_ptr<KVChoiceScreen> choices_;
  QListWidget* list_ = nullptr;
  bool choosing_ = false;
};

double& animationScale() {
  static double scale = 1.0;
  return scale;
}

// The stack of cards: the top one in front, two more peeking out below it.
class CardStack : public QWidget {
 public:
  explicit CardStack(QWidget* parent) : QWidget(parent) { setMinimumHeight(320); }

  void setCards(std::vector<KVReviewCard> cards) {
    cards_ = std::move(cards);
    decodePictures();
    update();
  }
  // What shows where no card is left: what the screen is busy with, or that all are dealt with.
  void setEmptyText(QString text) {
    emptyText_ = std::move(text);
    update();
  }
  // Throws the top card off (`direction` -1 discarded, 1 kept), then calls `thrown`.
  void throwTopCard(int direction, std::function<void()> thrown) {
    direction_ = direction;
    animate(&throwProgress_, 0.0, 1.0, kKVCardThrowDuration, [this, thrown = std::move(thrown)] {
      throwProgress_ = 0;
      direction_ = 0;
      thrown();
    });
  }
  // The cards below the thrown one move up into place.
  void moveUp() { animate(&lift_, 1.0, 0.0, kKVCardMoveUpDuration, {}); }
  bool isAnimating() const { return animating_ > 0; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int shown = static_cast<int>(std::min<std::size_t>(cards_.size(), 3));
    for (int depth = shown - 1; depth >= 0; --depth) {
      painter.save();
      const double offset = (depth + lift_) * 12.0;
      const QRectF card(16 + depth * 6, 8 + offset, width() - 32 - depth * 12, height() - 48);
      if (depth == 0 && direction_ != 0) {
        // Off to the side the reviewer chose, turning as it goes.
        const QPointF centre = card.center();
        painter.translate(centre.x() + direction_ * throwProgress_ * width() * 1.2,
                          centre.y() + (direction_ < 0 ? 80 : -60) * throwProgress_);
        painter.rotate(direction_ * throwProgress_ * kKVCardThrowAngle * 180.0 / M_PI);
        painter.translate(-centre);
      }
      paintCard(painter, card, cards_[static_cast<std::size_t>(depth)], depth == 0, pictures_);
      painter.restore();
    }
    if (cards_.empty()) painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
  }

 private:
  using Pictures = std::map<const KVWindowCapture*, QImage>;

  // Each capture's picture decoded once, not on every frame of an animation.
  void decodePictures() {
    Pictures pictures;
    for (const KVReviewCard& card : cards_) {
      const KVWindowCapture* capture = card.capture.get();
      if (capture == nullptr || pictures.count(capture) != 0) continue;
      const auto known = pictures_.find(capture);
      pictures[capture] =
          known != pictures_.end()
              ? known->second
              : QImage::fromData(reinterpret_cast<const uchar*>(capture->image.png.data()),
                                 static_cast<int>(capture->image.png.size()), "PNG");
    }
    pictures_ = std::move(pictures);
  }

  // The part of the window around the string, at its size where the card has room (else as
  // large as the string allows), the string's place outlined.
  static void paintSighting(QPainter& painter, const QRectF& room, const QImage& picture,
                            const KVRect& place) {
    if (picture.isNull() || room.height() < 40 || room.width() < 40) return;
    const QRectF spot(place.x, place.y, place.width, place.height);
    constexpr double kMargin = 24;
    const double scale = std::min({1.0, room.width() / (spot.width() + 2 * kMargin),
                                   room.height() / (spot.height() + 2 * kMargin)});
    // What of the picture is shown: the room's size at that scale, centred on the string and
    // kept within the picture.
    QRectF source(0, 0, std::min<double>(room.width() / scale, picture.width()),
                  std::min<double>(room.height() / scale, picture.height()));
    source.moveCenter(spot.center());
    source.moveLeft(std::clamp(source.left(), 0.0, picture.width() - source.width()));
    source.moveTop(std::clamp(source.top(), 0.0, picture.height() - source.height()));
    const QRectF target(room.topLeft(), source.size() * scale);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, picture, source);
    painter.setPen(QColor(199, 199, 204));
    painter.drawRect(target);
    painter.setPen(QPen(QColor(230, 60, 40), 2));
    painter.drawRect(
        QRectF(target.topLeft() + (spot.topLeft() - source.topLeft()) * scale, spot.size() * scale)
            .adjusted(-2, -2, 2, 2));
  }

  static void paintCard(QPainter& painter, const QRectF& card, const KVReviewCard& content,
                        bool front, const Pictures& pictures) {
    QPainterPath outline;
    outline.addRoundedRect(card, 12, 12);
    painter.fillPath(outline, front ? QColor(255, 255, 255) : QColor(242, 242, 247));
    painter.setPen(QColor(199, 199, 204));
    painter.drawPath(outline);
    if (!front) return;
    QRectF text = card.adjusted(16, 12, -16, -12);
    const auto block = [&painter, &text](const QString& value, const QColor& colour, bool bold) {
      QFont font = painter.font();
      font.setBold(bold);
      painter.setFont(font);
      painter.setPen(colour);
      QRectF used;
      painter.drawText(text, Qt::TextWordWrap, value, &used);
      text.setTop(text.top() + used.height() + 6);
    };
    const QColor grey(109, 109, 114);
    block(qs(kKVReviewKeyPrefix) + QString::fromStdString(content.key), grey, false);
    block(qs(kKVReviewMyChangesTitle), grey, true);
    block(qs(content.myText), Qt::black, false);
    block(qs(content.myStatus), statusColour(content.myStatusCode), true);
    if (!content.rejectReason.empty()) {
      block(QStringLiteral("Reason: ") + qs(content.rejectReason), statusColour(3), false);
    }
    text.setTop(text.top() + 10);
    block(qs(kKVReviewCurrentTitle), grey, true);
    block(qs(content.currentText), Qt::black, false);
    block(qs(content.currentStatus), QColor(44, 165, 200), false);
    if (const auto picture = pictures.find(content.capture.get()); picture != pictures.end()) {
      text.setTop(text.top() + 10);
      block(QStringLiteral("WHERE IT IS"), grey, true);
      paintSighting(painter, text, picture->second, content.captureRect);
    }
  }

  void animate(double* value, double from, double to, double seconds,
               std::function<void()> finished) {
    const int milliseconds = static_cast<int>(seconds * animationScale() * 1000);
    ++animating_;
    const auto done = [this, value, to, finished = std::move(finished)] {
      *value = to;
      --animating_;
      update();
      if (finished) finished();
    };
    if (milliseconds <= 0) {
      QTimer::singleShot(0, this, done);
      return;
    }
    auto* animation = new QVariantAnimation(this);
    animation->setStartValue(from);
    animation->setEndValue(to);
    animation->setDuration(milliseconds);
    animation->setEasingCurve(QEasingCurve::InOutQuad);
    connect(animation, &QVariantAnimation::valueChanged, this, [this, value](const QVariant& v) {
      *value = v.toDouble();
      update();
    });
    connect(animation, &QVariantAnimation::finished, this, done);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
  }

  static QColor statusColour(unsigned status) {
    switch (status) {
      case 2:
        return QColor(40, 140, 70);  // accepted
      case 3:
        return QColor(200, 50, 50);  // rejected
      default:
        return QColor(44, 165, 200);  // edited
    }
  }

  std::vector<KVReviewCard> cards_;
  Pictures pictures_;
  QString emptyText_;
  double throwProgress_ = 0;
  double lift_ = 0;
  int direction_ = 0;
  int animating_ = 0;
};

class ReviewView : public ScreenView {
 public:
  ReviewView(std::shared_ptr<KVReviewScreen> review, QWidget* parent)
      : ScreenView(parent), review_(std::move(review)) {
    auto* layout = new QVBoxLayout(this);
    spinner_ = new QProgressBar(this);
    spinner_->setRange(0, 0);
    spinner_->setTextVisible(false);
    stack_ = new CardStack(this);
    counter_ = new QLabel(this);
    counter_->setAlignment(Qt::AlignRight);
    counter_->setStyleSheet(QStringLiteral("color: #6d6d72;"));
    auto* buttons = new QHBoxLayout;
    discard_ = new QPushButton(qs(review_->discardTitle()), this);
    keep_ = new QPushButton(qs(review_->keepTitle()), this);
    buttons->addWidget(discard_);
    buttons->addWidget(keep_);
    layout->addWidget(spinner_);
    layout->addWidget(counter_);
    layout->addWidget(stack_, 1);
    layout->addLayout(buttons);
    connect(discard_, &QPushButton::clicked, this, [this] { review_->discard(); });
    connect(keep_, &QPushButton::clicked, this, [this] { review_->keep(); });
    refresh();
  }

  void refresh() override {
    const auto cards = review_->cards();
    spinner_->setVisible(review_->isBusy());
    counter_->setText(qs(review_->counterText()));
    stack_->setEmptyText(review_->isBusy() ? qs(review_->busyText())
                                           : QStringLiteral("No changes left"));
    const auto pending = review_->pendingThrow();
    const bool ready =
        !cards.empty() && !review_->isBusy() && pending == KVReviewScreen::Throw::none;
    discard_->setEnabled(ready);
    keep_->setEnabled(ready);
    if (cards.size() < shownCards_) stack_->moveUp();
    shownCards_ = cards.size();
    stack_->setCards(cards);
    if (pending != KVReviewScreen::Throw::none && !throwing_) {
      throwing_ = true;
      stack_->throwTopCard(pending == KVReviewScreen::Throw::discarded ? -1 : 1, [this] {
        throwing_ = false;
        review_->cardWasThrown();
      });
    }
  }

 private:
  std::shared_ptr<KVReviewScreen> review_;
  QProgressBar* spinner_ = nullptr;
  QLabel* counter_ = nullptr;
  CardStack* stack_ = nullptr;
  QPushButton* discard_ = nullptr;
  QPushButton* keep_ = nullptr;
  std::size_t shownCards_ = 0;
  bool throwing_ = false;
};

class UnknownScreenView : public ScreenView {
 public:
  using ScreenView::ScreenView;
  void refresh() override {}
};

std::function<void(const QUrl&)>& signOnPageOpener() {
  static std::function<void(const QUrl&)> opener;
  return opener;
}

}  // namespace

QWidget* makeScreenView(const std::shared_ptr<KVToolScreen>& screen, QWidget* parent) {
  if (auto menu = std::dynamic_pointer_cast<KVActionsMenu>(screen)) {
    return new MenuView(std::move(menu), parent);
  }
  if (auto login = std::dynamic_pointer_cast<KVLoginScreen>(screen)) {
    return new LoginView(std::move(login), parent);
  }
  if (auto choices = std::dynamic_pointer_cast<KVChoiceScreen>(screen)) {
    return new ChoiceView(std::move(choices), parent);
  }
  if (auto review = std::dynamic_pointer_cast<KVReviewScreen>(screen)) {
    return new ReviewView(std::move(review), parent);
  }
  return new UnknownScreenView(parent);
}

void refreshScreenView(QWidget* view) {
  if (auto* screenView = dynamic_cast<ScreenView*>(view)) screenView->refresh();
}

bool openSignOnPage(const QUrl& url) {
  if (!signOnPageOpener()) return QDesktopServices::openUrl(url);
  signOnPageOpener()(url);
  return true;
}

void setSignOnPageOpener(std::function<void(const QUrl&)> opener) {
  signOnPageOpener() = std::move(opener);
}

void setCardAnimationScale(double scale) { animationScale() = std::max(0.0, scale); }

}  // namespace kolvane::qt
