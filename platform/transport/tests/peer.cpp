/// A sending process for tests: does what it is told on standard input, one command a line, and answers each with "ok"
/// or "failed: <reason>".
///
///     peer <domain tag> <lease in ms>
///     source <topic> | send <topic> <count> | close <topic> | delete
///
/// It ends when the input does, without deleting anything: a clean end is to be asked for.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include "support/context_fixture.h"

namespace {

class Peer {
public:
    Peer(const char* tag, const char* lease_ms)
        : ctx_(test::make_context({{"domain_tag", tag}, {"lease_ms", lease_ms}}))
    {
    }

    void obey(const std::string& line)
    {
        std::istringstream words{line};
        std::string verb;
        std::string topic;
        std::size_t count = 0;
        words >> verb >> topic >> count;
        if (verb == "source") {
            sources_[topic] = test::make_source(ctx_, topic);
        } else if (verb == "send") {
            send(topic, count);
        } else if (verb == "close") {
            sources_.erase(topic);
        } else if (verb == "delete") {
            ctx_.reset();
        } else {
            throw std::invalid_argument(line);
        }
    }

private:
    void send(const std::string& topic, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            test::send(sources_.at(topic), std::to_string(sent_[topic]++));
        }
    }

    test::ContextHandle ctx_;
    std::map<std::string, test::SourceHandle> sources_;
    std::map<std::string, std::size_t> sent_;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    try {
        Peer peer{argv[1], argv[2]};
        std::cout << "ok" << std::endl;
        for (std::string line; std::getline(std::cin, line);) {
            peer.obey(line);
            std::cout << "ok" << std::endl;
        }
    } catch (const std::exception& e) {
        std::cout << "failed: " << e.what() << std::endl;
    }
    std::_Exit(EXIT_SUCCESS);
}
