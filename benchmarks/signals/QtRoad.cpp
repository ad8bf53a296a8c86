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

class QtEchoRoad final : public Road {
 public:
  QtEchoRoad() : Road(1) {
    receiver_.moveToThread(&thread_);
    echo_.moveToThread(&echo_thread_);
    QObject::connect(&sender_, &QtSender::Hit, &receiver_, &QtReceiver::Ball, Qt::QueuedConnection);
    QObject::connect(&question_, &QtSender::Hit, &echo_, &QtReceiver::Ball, Qt::QueuedConnection);
    thread_.start();
    echo_thread_.start();
  }
  ~QtEchoRoad() override {
    for (QThread* const thread : {&thread_, &echo_thread_}) {
      thread->quit();
      thread->wait();
    }
  }

 private:
  void Fire() override { Q_EMIT sender_.Hit(); }
  void Answer() override { Q_EMIT question_.Hit(); }

  QThread thread_;
  QThread echo_thread_;
  QtSender sender_;
  QtSender question_;
  QtReceiver receiver_{[this] { Deliver(); }};
  QtReceiver echo_{[this] { Fire(); }};
};

// Qt's event loops want one.
void MakeApplication() {
  static int argument_count = 1;
  static char name[] = "signals_bench";
  static char* arguments[] = {name, nullptr};
  static const QCoreApplication application(argument_count, arguments);
}

}  // namespace

std::unique_ptr<Road> MakeQtRoad(long receivers) {
  MakeApplication();
  return std::make_unique<QtRoad>(receivers);
}

std::unique_ptr<Road> MakeQtEchoRoad() {
  MakeApplication();
  return std::make_unique<QtEchoRoad>();
}

}  // namespace signals_bench
