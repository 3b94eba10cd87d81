#pragma once

#include <string>

namespace companion {

// A window that the effect controller has put up and can take down.
class PresentedController {
public:
    virtual ~PresentedController() = default;

    // False once the user or dismiss() has closed it.
    virtual bool isPresented() const = 0;
    virtual void dismiss() = 0;
    virtual std::string description() const = 0; // For the log.
};

} // namespace companion
