#pragma once

#include <QTest>

// Every test program already starts in a throwaway home (freshhome.cpp).
#define ISOLATED_GUI_TEST_MAIN(TestClass) QTEST_MAIN(TestClass)
