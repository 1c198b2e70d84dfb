#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Inspect/Inspector.h"

namespace Inspect {

/// Serves the page and the answers to this machine only. All addresses begin with a random token that nobody can guess;
/// requests from pages of other origins, and by other names of this machine, are refused.
class Server {
public:
    /// `end` is called when the page asks for the end; it brings about a Stop.
    Server(Inspector& inspector, std::function<void()> end);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Port 0: any. Empty when it listens, else why not.
    std::string Listen(std::uint16_t port);
    /// Where the page is; after Listen.
    [[nodiscard]] std::string Address() const;
    /// Answers until Stop.
    void Run();
    /// From any thread.
    void Stop();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Inspect
