#include "math/Conic.h"
#include "math/ConvexPolyedron.h"
#include "math/LMMinPack.h"
#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "support/LogRecords.h"
#include "support/MathErrorExpectations.h"
#include "support/ScriptedCostFun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/hierarchy.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using log4cplus::ERROR_LOG_LEVEL;
using log4cplus::Logger;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ThrowingAppender : public RecordingAppender {
protected:
    void append(log4cplus::spi::InternalLoggingEvent const&) override
    {
        throw std::runtime_error("the log is broken");
    }
};

class Errors : public testing::Test {
protected:
    Logger logger = Logger::getInstance("ErrorTest");
    Attached<RecordingAppender> log{logger};
};

TEST_F(Errors, LogOnceWithMessageLevelAndPlace)
{
    Error const error(17, "somewhere/Place.cpp", "it went wrong", &logger, ERROR_LOG_LEVEL);
    EXPECT_THAT(log.records(),
                ElementsAre(Record{40000, 17, "somewhere/Place.cpp", "it went wrong"}));
    EXPECT_STREQ(error.what(), "it went wrong");
    EXPECT_STREQ(error.getFile(), "somewhere/Place.cpp");
    EXPECT_EQ(error.getLine(), 17);
}

TEST_F(Errors, CopiesKeepTheMessageAndDoNotLog)
{
    auto original = std::make_unique<MathError>(1, "a.cpp", "first", &logger, ERROR_LOG_LEVEL);
    MathError copy(*original), assigned(2, "b.cpp", "second", nullptr, ERROR_LOG_LEVEL);
    assigned = *original;
    MathError moved(std::move(*original));  // NOLINT(performance-move-const-arg): copies, as meant
    EXPECT_STREQ(original->what(), "first");

    original.reset();
    for (MathError const* const error : {&copy, &assigned, &moved})
        EXPECT_STREQ(error->what(), "first");
    EXPECT_EQ(assigned.getLine(), 1);
    EXPECT_THAT(log.records(), SizeIs(1));
}

TEST_F(Errors, RespectTheLevelOfTheLogger)
{
    logger.setLogLevel(log4cplus::FATAL_LOG_LEVEL);
    Error const quiet(1, "a.cpp", "quiet", &logger, ERROR_LOG_LEVEL);
    EXPECT_THAT(log.records(), IsEmpty());

    FatalError const loud(1, "a.cpp", "loud", &logger, log4cplus::FATAL_LOG_LEVEL);
    EXPECT_THAT(log.records(), SizeIs(1));
    logger.setLogLevel(log4cplus::NOT_SET_LOG_LEVEL);
}

TEST_F(Errors, TolerateANullLoggerAndANullFile)
{
    MathFatalError const error(5, nullptr, "message", nullptr, ERROR_LOG_LEVEL);
    EXPECT_STREQ(error.what(), "message");
    EXPECT_STREQ(error.getFile(), "");
}

TEST_F(Errors, GetThroughABrokenLog)
{
    Attached<ThrowingAppender> const broken(logger);
    EXPECT_MATH_ERROR(throw MathError(5, "a.cpp", "the real error", &logger, ERROR_LOG_LEVEL),
                      "the real error");
}

static_assert(std::is_base_of_v<std::exception, Error>);
static_assert(std::is_base_of_v<Error, FatalError>);
static_assert(std::is_base_of_v<Error, MathError>);
static_assert(std::is_base_of_v<FatalError, MathFatalError>);
static_assert(!std::is_base_of_v<FatalError, MathError>);
static_assert(std::is_nothrow_copy_constructible_v<MathError>);
static_assert(std::is_nothrow_copy_assignable_v<MathFatalError>);
static_assert(sizeof(MathError) == sizeof(Error), "no data of its own");

TEST(MathErrors, FailureReachesLoggerAndRootOnceWithTheCallersPlace)
{
    Attached<RecordingAppender> const log(Logger::getInstance("Math")), root(Logger::getRoot());
    measuremath::require(1 < 2, "silent");
    EXPECT_MATH_ERROR(measuremath::require(1 > 2, "Bad order"), "Bad order");
    int const line = __LINE__ - 1;
    // The file is relative to the source root.
    EXPECT_THAT(log.records(),
                ElementsAre(Record{40000, line, "tests/ErrorTest.cpp", "Bad order"}));
    EXPECT_THAT(root.records(), SizeIs(1));
}

// An ordinary global's initialiser may already throw: the logger must stand by then.
std::string const thrownBeforeMain = [] {
    try {
        measuremath::fail("early");
    } catch (MathError const& error) {
        return std::string(error.what());
    }
}();

TEST(MathErrors, CanBeThrownBeforeMain)
{
    EXPECT_EQ(thrownBeforeMain, "early");
    EXPECT_EQ(g_MathLogger.getName(), "Math");
    EXPECT_TRUE(g_MathLogger.getAdditivity());
}

// Errors, records of every level, a report, and a failure of LAPACK.
void doWhatIsLogged()
{
    EXPECT_MATH_ERROR(measuremath::fail("unheard"), "unheard");
    Matrix T, R, S;
    ellipseDecomposition(Vector::of({1, 0, 0, 0, -1}), T, R, S);
    ConvexPolyedron body;
    for (int i = 0; i < 3; ++i) body.addPlane(Matrix(3, 4, Matrix::IDENTITY).getRowVector(i));
    EXPECT_EQ(body.getNbTops(), 1U);
    Scripted<> f;
    f.initCostFun(1, 1);
    f.setBoolAnaDer(false);
    LMMinPack solver;
    solver.setCostFun(&f);
    solver.setInitVecSol(Vector(1));
    solver.solve();
    EXPECT_FALSE(luInverse(S *= 0.0));
}

// log4cplus complains once a process, so this looks at a process from its start: the
// "threadsafe" style runs the program anew, and the error before main is in it.
TEST(MathErrorsDeathTest, UnconfiguredProgramPrintsNothing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const workAndLeave = [] {
        std::fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);  // so that the test sees both streams
        doWhatIsLogged();
        std::fflush(stdout);
        std::_Exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
    };
    EXPECT_EXIT(workAndLeave(), testing::ExitedWithCode(EXIT_SUCCESS), IsEmpty());
}

}  // namespace
