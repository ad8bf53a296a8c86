// The objects of the Qt peer, apart for Qt's compiler of meta-objects.
#pragma once

#include <QObject>
#include <functional>

class QtSender : public QObject {
  Q_OBJECT
 Q_SIGNALS:
  void Hit();
};

class QtReceiver : public QObject {
  Q_OBJECT
 public:
  explicit QtReceiver(std::function<void()> handler) : handler_(std::move(handler)) {}
 public Q_SLOTS:
  void Ball() { handler_(); }

 private:
  std::function<void()> handler_;
};
