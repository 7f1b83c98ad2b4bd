#include "link.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "engine_link.h"
#include "transport_link.h"

namespace qx::benchmark {
namespace {

constexpr std::array<std::pair<Kind, std::string_view>, 3> names{
    {{Kind::transport, "transport"}, {Kind::engine, "engine"}, {Kind::engine_batching, "engine, batching"}}};

} // namespace

Kind kind_of(std::string_view name)
{
    for (const auto& [kind, its] : names) {
        if (its == name) {
            return kind;
        }
    }
    throw std::invalid_argument("no such link: " + std::string{name});
}

std::string_view name_of(Kind kind)
{
    return names.at(static_cast<std::size_t>(kind)).second;
}

std::unique_ptr<Link> make_link(Kind kind, const std::string& tag)
{
    if (kind == Kind::transport) {
        return make_transport_link(tag);
    }
    return make_engine_link(tag, kind == Kind::engine_batching);
}

} // namespace qx::benchmark
