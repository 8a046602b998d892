// The socket of this machine's journal, which takes an entry per datagram.
#pragma once

#include "imlog/sink.h"
#include "util/ownership.h"

inline constexpr char kJournalSocketPath[] = "/run/systemd/journal/socket";

class JournalSocket : public Sink {
 public:
  JournalSocket();

  Problem open() override;

  // Sends an entry. Waits while the journal's queue is full; after ten seconds the result is EAGAIN.
  int write(std::string_view piece) override;

  [[nodiscard]] Problem problem(int error) const override;

  [[nodiscard]] bool keeps_pieces() const override {
    return true;
  }

 private:
  [[nodiscard]] bool connect() const;
  [[nodiscard]] bool send(std::string_view entry) const;

  Descriptor socket_;
};
