#include "qxnotify/publish_forecast.h"

#include <algorithm>
#include <exception>
#include <sstream>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include "instrument_download_record.pb.h"
#include "product_download_record.pb.h"
#include "qxnotify/notification_names.h"

namespace qx::tool {

namespace {

/// The envelope's reader descends by recursion: text that is nested deeply enough exhausts any stack, this one
/// included.
constexpr std::size_t depth_max = 512;

std::size_t nesting_depth(std::string_view json)
{
    std::size_t depth = 0;
    std::size_t deepest = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (in_string) {
            i += c == '\\' ? 1U : 0U; // what it escapes ends nothing
            in_string = c != '"';
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (c == ']' || c == '}') {
            depth -= depth > 0 ? 1U : 0U;
        } else {
            in_string = c == '"';
        }
    }
    return deepest;
}

using Tree = boost::property_tree::ptree;

struct Envelope {
    std::string data_type;
    std::string data;
};

std::string text_of(const Tree& envelope, const char* key)
{
    return envelope.get_child(key).get_value<std::string>();
}

bool carries_record(const std::string& name)
{
    return name == data_type::product || name == data_type::instrument;
}

/// Throws what would end a listener.
Envelope read_envelope(const std::string& payload)
{
    std::istringstream stream(payload);
    Tree tree;
    boost::property_tree::read_json(stream, tree);
    text_of(tree, "et");
    Envelope envelope{text_of(tree, "dt"), {}};
    text_of(tree, "id");
    if (carries_record(envelope.data_type)) {
        envelope.data = text_of(tree, "data");
    }
    return envelope;
}

} // namespace

template <class Record>
Forecast Forecaster::convert(const std::string& data, Fate success)
{
    try {
        Record record;
        if (m_converter.JSONToProtobuf(record, libjson::parse(data), false, false)) {
            return {success, {}};
        }
        return {Fate::no_reflection, "the record has nothing to convert"};
    } catch (const std::exception& e) {
        return {Fate::bad_inner, e.what()};
    }
}

Forecast Forecaster::operator()(const std::string& payload)
{
    if (nesting_depth(payload) > depth_max) {
        return {Fate::fatal, "nested deeper than " + std::to_string(depth_max) + " levels"};
    }
    Envelope envelope;
    try {
        envelope = read_envelope(payload);
    } catch (const boost::property_tree::json_parser_error& e) {
        return {Fate::fatal, "not JSON: " + e.message()};
    } catch (const boost::property_tree::ptree_error& e) {
        return {Fate::fatal, e.what()};
    }
    if (envelope.data_type == data_type::product) {
        return convert<messaging::pds::ProductDownloadRecord>(envelope.data, Fate::product);
    }
    if (envelope.data_type == data_type::instrument) {
        return convert<messaging::pds::InstrumentDownloadRecord>(envelope.data, Fate::instrument);
    }
    if (envelope.data_type == data_type::product_delete) {
        return {Fate::product_delete, {}};
    }
    if (envelope.data_type == data_type::instrument_delete) {
        return {Fate::instrument_delete, {}};
    }
    return {Fate::unsupported, "data type " + envelope.data_type};
}

} // namespace qx::tool
