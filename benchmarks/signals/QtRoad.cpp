// Qt's queued connections across threads.
#include "benchmarks/signals/QtRoad.h"

#include <QCoreApplication>
#include <QThread>
#include <vector>

#include "benchmarks/signals/Road.h"

namespace signals_bench {
namespace {

class QtRoad final : public Road {
 public:
  explicit QtRoad(long receiver_count) : Road(receiver_count) {
    for (long i = 0; i < receiver_count; ++i) {
      all_.push_back(std::make_unique<QtReceiver>([this] { Deliver(); }));
      all_.back()->moveToThread(&thread_);
      QObject::connect(&sender_, &QtSender::Hit, all_.back().get(), &QtReceiver::Ball, Qt::QueuedConnection);
    }
    thread_.start();
  }
  ~QtRoad() override {
    thread_.quit();
    thread_.wait();
  }

 private:
  void Fire() override { Q_EMIT sender_.Hit(); }

  QThread thread_;
  QtSender sender_;
  std::vector<std::unique_ptr<QtReceiver>> all_;
};

}  // namespace

std::unique_ptr<Road> MakeQtRoad(long receivers) {
  static int argument_count = 1;
  static char name[] = "signals_bench";
  static char* arguments[] = {name, nullptr};
  static const QCoreApplication application(argument_count, arguments);  // Qt's event loops want one
  return std::make_unique<QtRoad>(receivers);
}

}  // namespace signals_bench
