#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <vector>

// Lets one test executable run several QtTest classes: each test file
// registers its class with TOVALIN_TEST(ClassName).
namespace testing {

using TestFactory = std::function<std::unique_ptr<QObject>()>;

std::vector<TestFactory>& registeredTests();

struct Registration {
    explicit Registration(TestFactory factory) { registeredTests().push_back(std::move(factory)); }
};

} // namespace testing

#define TOVALIN_TEST(Class)                                                                        \
    static const testing::Registration registration_##Class(                                       \
        [] { return std::unique_ptr<QObject>(new Class); });
