// SPDX-License-Identifier: Apache-2.0
// A window from which a file can be dragged, as from a file manager: qnyTestDragSource FILE X Y. It says "ready" when
// it is on the screen, then "dropped" or "refused" at the end of each drag, on standard output. It ends on SIGTERM.
#include <QtCore/QMimeData>
#include <QtCore/QUrl>
#include <QtGui/QDrag>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <cstdio>

namespace {

class FileLabel : public QLabel
{
public:
    explicit FileLabel(const QString& path)
        : QLabel(path)
        , _path(path)
    {
    }

protected:
    void mousePressEvent(QMouseEvent* event) override { _pressed = event->pos(); }

    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (!event->buttons().testFlag(Qt::LeftButton)
            || (event->pos() - _pressed).manhattanLength() < QApplication::startDragDistance()) {
            return;
        }
        auto* dragged = new QMimeData;
        dragged->setUrls({ QUrl::fromLocalFile(_path) });
        auto* drag = new QDrag(this);
        drag->setMimeData(dragged);
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::CopyAction);
        std::puts(action == Qt::IgnoreAction ? "refused" : "dropped");
        std::fflush(stdout);
    }

    void paintEvent(QPaintEvent* event) override
    {
        QLabel::paintEvent(event);
        if (!_isShown) {
            _isShown = true;
            std::puts("ready");
            std::fflush(stdout);
        }
    }

private:
    QString _path;
    QPoint _pressed;
    bool _isShown = false;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 4) {
        std::fprintf(stderr, "qnyTestDragSource FILE X Y\n");
        return 2;
    }
    FileLabel label(arguments.at(1));
    label.setAlignment(Qt::AlignCenter);
    label.setGeometry(arguments.at(2).toInt(), arguments.at(3).toInt(), 200, 120);
    label.show();
    return QApplication::exec();
}
