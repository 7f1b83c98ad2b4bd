#include "measure.h"

#include <algorithm>
#include <ctime>
#include <memory>
#include <stdexcept>

#include <google/protobuf/util/message_differencer.h>

#include "allocations.h"

namespace qx::benchmark {
namespace {

constexpr double batch_nanoseconds = 20e6;

double cpu_nanoseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double time_of(Path& path, std::size_t passes)
{
    const double start = cpu_nanoseconds();
    for (std::size_t i = 0; i < passes; ++i) {
        path.pass();
    }
    return (cpu_nanoseconds() - start) / static_cast<double>(passes);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One way and what was seen on it.
class Course {
public:
    explicit Course(const Contender& contender)
        : m_name(contender.kind.name)
        , m_path(contender.kind.make(contender.sample))
    {
        m_path->pass();
        if (!google::protobuf::util::MessageDifferencer::Equals(m_path->record(), *contender.sample.reference)) {
            throw std::runtime_error(contender.sample.name + ": " + m_name +
                                     " makes another record than the reference");
        }
        m_passes = static_cast<std::size_t>(batch_nanoseconds / time_of(*m_path, 10)) + 1;
    }

    void run() { m_times.push_back(time_of(*m_path, m_passes)); }

    Figure figure() const
    {
        constexpr std::size_t passes = 10;
        const std::uint64_t before = allocations();
        time_of(*m_path, passes);
        const std::uint64_t made = allocations() - before; // before the figure makes its own
        return {m_name, median(m_times), static_cast<double>(made) / passes};
    }

private:
    std::string m_name;
    std::unique_ptr<Path> m_path;
    std::size_t m_passes;
    std::vector<double> m_times;
};

} // namespace

std::vector<Figure> measure(const std::vector<Contender>& contenders, std::size_t rounds)
{
    std::vector<Course> courses(contenders.begin(), contenders.end());
    for (std::size_t round = 0; round < rounds; ++round) {
        for (Course& course : courses) {
            course.run();
        }
    }
    std::vector<Figure> figures;
    figures.reserve(courses.size());
    for (const Course& course : courses) {
        figures.push_back(course.figure());
    }
    return figures;
}

} // namespace qx::benchmark
