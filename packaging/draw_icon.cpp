#include <cstdio>
#include <cstdlib>

#include <QtCore/QString>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtSvg/QSvgRenderer>

// draw_icon DRAWING SIZE PICTURE: draws an SVG file as a square PNG file.
int main(int argumentCount, char** arguments) {
  if (argumentCount != 4) return 2;
  const int size = std::atoi(arguments[2]);
  QSvgRenderer drawing(QString::fromLocal8Bit(arguments[1]));
  QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::transparent);
  if (drawing.isValid()) {
    QPainter painter(&picture);
    drawing.render(&painter);
  }
  if (drawing.isValid() && picture.save(QString::fromLocal8Bit(arguments[3]), "PNG")) return 0;
  std::fprintf(stderr, "draw_icon: %s can't be drawn as %s\n", arguments[1], arguments[3]);
  return 1;
}
