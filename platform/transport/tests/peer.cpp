/// A sending, hearing, asking and answering process for tests: does what it is told on standard input, one command a
/// line, and answers each with "ok" or "failed: <reason>".
///
///     peer <option>=<value>...
///     source <topic> | send <topic> <count> | close <topic> | delete
///     receive <topic>
///     begins <topic> <count> | hears <topic> <count> | loses <topic> <count>    wait for so many of them
///     alive <topic>              it began once and has not ended
///     accounts <topic> <count>   wait for the end; every number up to that count was delivered or lost, in order
///     respond <topic>            answer each request with its own bytes
///     request <topic> <count>    each with its number, from 0
///     answers <topic> <count>    wait for so many answers altogether
///
/// It ends when the input does, without deleting anything: a clean end is to be asked for.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/context_fixture.h"
#include "support/requests.h"

namespace {

class Peer {
public:
    explicit Peer(const test::OptionList& options)
        : ctx_(test::make_context(options))
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
        } else if (verb == "receive") {
            receivers_[topic] = test::make_receiver(ctx_, topic, heard_[topic]);
        } else if (verb == "begins") {
            test::check(heard_[topic].wait_for(LBM_MSG_BOS, count) ? LBM_OK : LBM_FAILURE);
        } else if (verb == "hears") {
            test::check(heard_[topic].wait_for(LBM_MSG_DATA, count) ? LBM_OK : LBM_FAILURE);
        } else if (verb == "loses") {
            loses(topic, count);
        } else if (verb == "alive") {
            alive(topic);
        } else if (verb == "accounts") {
            accounts(topic, count);
        } else if (verb == "respond") {
            respond(topic);
        } else if (verb == "request") {
            request(topic, count);
        } else if (verb == "answers") {
            test::check(answers_[topic].wait_for(LBM_MSG_RESPONSE, count) ? LBM_OK : LBM_FAILURE);
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

    void loses(const std::string& topic, std::size_t count)
    {
        const test::Recorder& heard = heard_[topic];
        const auto enough = [&] {
            return heard.count(LBM_MSG_UNRECOVERABLE_LOSS) + heard.count(LBM_MSG_UNRECOVERABLE_LOSS_BURST) >= count;
        };
        test::check(heard.wait(enough) ? LBM_OK : LBM_FAILURE);
    }

    void alive(const std::string& topic)
    {
        const test::Recorder& heard = heard_[topic];
        if (heard.count(LBM_MSG_BOS) != 1 || heard.count(LBM_MSG_EOS) != 0) {
            throw std::runtime_error(topic + " did not begin once, or has ended");
        }
    }

    void accounts(const std::string& topic, std::size_t count)
    {
        const test::Recorder& heard = heard_[topic];
        test::check(heard.wait_for(LBM_MSG_EOS) ? LBM_OK : LBM_FAILURE);
        std::uint32_t next = 0;
        bool lost = false;
        for (const test::Seen& seen : heard.seen()) {
            if (seen.type == LBM_MSG_BOS) {
                next = seen.sequence;
                continue;
            }
            if (seen.sequence != next && !lost) {
                throw std::runtime_error("number " + std::to_string(seen.sequence) + " where " + std::to_string(next) +
                                         " was due");
            }
            lost = seen.type == LBM_MSG_UNRECOVERABLE_LOSS || seen.type == LBM_MSG_UNRECOVERABLE_LOSS_BURST;
            next = seen.type == LBM_MSG_DATA ? seen.sequence + 1 : seen.sequence;
        }
        if (next != count) {
            throw std::runtime_error("the account ends at " + std::to_string(next));
        }
    }

    void respond(const std::string& topic)
    {
        requests_[topic].then = [](lbm_msg_t& msg) {
            const bool failed = msg.type == LBM_MSG_REQUEST &&
                                lbm_send_response(msg.response, msg.data, msg.len, LBM_MSG_FLUSH) == LBM_FAILURE;
            if (failed && lbm_errnum() != LBM_EOP) { // a requester that is gone needs no answer
                throw std::runtime_error(lbm_errmsg());
            }
        };
        receivers_[topic] = test::make_receiver(ctx_, topic, requests_[topic]);
    }

    void request(const std::string& topic, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string number = std::to_string(open_.size());
            open_.push_back(test::send_request(sources_.at(topic), number, answers_[topic]));
        }
    }

    test::ContextHandle ctx_;
    std::map<std::string, test::Recorder> heard_;
    std::map<std::string, test::Recorder> requests_;
    std::map<std::string, test::Recorder> answers_;
    std::map<std::string, test::ReceiverHandle> receivers_;
    std::vector<test::RequestHandle> open_;
    std::map<std::string, test::SourceHandle> sources_;
    std::map<std::string, std::size_t> sent_;
};

/// The names view the arguments.
test::OptionList options_of(std::vector<std::string>& arguments)
{
    test::OptionList options;
    for (std::string& argument : arguments) {
        const std::size_t equals = argument.find('=');
        argument.at(equals) = '\0';
        options.emplace_back(argument.c_str(), argument.substr(equals + 1));
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        std::vector<std::string> arguments{argv + 1, argv + argc};
        Peer peer{options_of(arguments)};
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
