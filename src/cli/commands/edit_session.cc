#include "cli/commands/edit_session.h"

namespace velto::cli {

EditSession::EditSession(std::string lang)
    : language(std::move(lang)), scheduler_(clock_.now()), idle_(clock_) {
  services_ = std::make_unique<ServiceSet>(Desktop{front_, titles_, idle_, power_, session_,
                                                   nullptr, nullptr, clock_, scheduler_, nullptr},
                                           defaultServicePaths(), Calendar::current());
}

}  // namespace velto::cli
