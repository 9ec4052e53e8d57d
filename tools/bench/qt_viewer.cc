#include <QApplication>
#include <QUrl>
#include <QWebEngineView>

// Shows one page in one window with Qt WebEngine.
int main(int argc, char **argv) {
  const QApplication application(argc, argv);
  if (argc < 2) return 1;
  QWebEngineView view;
  view.setWindowTitle("Orvel OS");
  view.load(QUrl(QString::fromLocal8Bit(argv[1])));
  view.showMaximized();
  return QApplication::exec();
}
