// A drawing program: everything that the pointer does leaves a mark, which depends on what was done
// before. F2 saves the picture to the file that it was started with.
#include <cstdio>

#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtGui/QRasterWindow>
#include <QtGui/QScreen>
#include <QtGui/QStyleHints>
#include <QtGui/QWheelEvent>

namespace {

class Canvas final : public QRasterWindow {
 public:
  explicit Canvas(QString file) : file_(std::move(file)) {}

 protected:
  void focusInEvent(QFocusEvent*) override {
    std::puts("ready");
    std::fflush(stdout);
  }

  void resizeEvent(QResizeEvent*) override {
    // The size on the screen is not always the same at first.
    if (picture_.size() == size()) return;
    picture_ = QImage(size(), QImage::Format_RGB32);
    picture_.fill(Qt::white);
  }

  void paintEvent(QPaintEvent*) override { QPainter(this).drawImage(0, 0, picture_); }

  void mousePressEvent(QMouseEvent* event) override {
    last_ = event->position();
    if (event->button() != Qt::LeftButton) anchor_ = last_;
    mark(6, event->button() == Qt::LeftButton ? 0 : 120);
  }

  void mouseDoubleClickEvent(QMouseEvent* event) override {
    mousePressEvent(event);
    mark(14, 200);
  }

  void mouseReleaseEvent(QMouseEvent* event) override {
    if (event->button() != Qt::LeftButton) line(anchor_, event->position());
    last_ = event->position();
    ++strokes_;
    mark(3, 40);
  }

  void mouseMoveEvent(QMouseEvent* event) override {
    // A drag with another button draws its line in the end.
    if (event->buttons() == Qt::LeftButton) {
      line(last_, event->position());
    } else if (event->buttons() != Qt::NoButton) {
      return;
    }
    last_ = event->position();
    mark(1, 80);
  }

  void wheelEvent(QWheelEvent* event) override {
    last_ = event->position();
    turned_ += event->angleDelta().y() / 120 + 3 * (event->angleDelta().x() / 120);
    mark(4, 160);
  }

  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() != Qt::Key_F2) return;
    picture_.save(file_ + ".new", "PPM");
    rename((file_ + ".new").toLocal8Bit().constData(), file_.toLocal8Bit().constData());
  }

 private:
  [[nodiscard]] QColor color(int hue) const {
    return QColor::fromHsv(((strokes_ * 37 + turned_ * 11 + hue) % 360 + 360) % 360, 200, 200);
  }

  void line(QPointF from, QPointF to) {
    QPainter painter(&picture_);
    painter.setPen(QPen(color(0), 2 + (turned_ % 5 + 5) % 5));
    painter.drawLine(from, to);
    constexpr int margin = 5;
    update(
        QRectF(from, to).normalized().toAlignedRect().adjusted(-margin, -margin, margin, margin));
  }

  void mark(int radius, int hue) {
    QPainter painter(&picture_);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color(hue));
    painter.drawEllipse(last_, radius, radius);
    update(QRectF(last_, last_).toAlignedRect().adjusted(-radius, -radius, radius, radius));
  }

  QString file_;
  QImage picture_;
  QPointF last_;
  QPointF anchor_;
  int strokes_ = 0;
  int turned_ = 0;
};

}  // namespace

int main(int count, char** arguments) {
  QGuiApplication application(count, arguments);
  // Qt compresses moves by default, and sets the attribute again while it starts.
  QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
  // On a busy machine the two clicks of a double click may be further apart than usual.
  QGuiApplication::styleHints()->setMouseDoubleClickInterval(2000);
  if (application.arguments().size() != 2) return 2;
  Canvas canvas(application.arguments().at(1));
  // Bypasses the window manager, which grabs presses and delays what follows them.
  canvas.setFlags(Qt::BypassWindowManagerHint);
  canvas.setGeometry(canvas.screen()->geometry());
  canvas.show();
  canvas.requestActivate();
  return QGuiApplication::exec();
}
