#include <gtest/gtest.h>
#include <pthread.h>

#include "support/LogCapture.h"
#include "vloxlib/thread/Windows/WindowsThread.h"

using vloxlib::WindowsThread;

// No system has room for such a stack, so that no thread can be made from here on.
static void forbidThreads() {
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, std::size_t{1} << 60));
    ASSERT_EQ(0, pthread_setattr_default_np(&attributes));
    pthread_attr_destroy(&attributes);
}

static void allowThreads() {
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, std::size_t{1} << 23));
    ASSERT_EQ(0, pthread_setattr_default_np(&attributes));
    pthread_attr_destroy(&attributes);
}

TEST(WindowsThread, TellsOnceThatNoThreadCouldBeMade) {
    vlox_test::LogCapture log;
    WindowsThread thread;
    forbidThreads();
    EXPECT_FALSE(thread.start());
    EXPECT_TRUE(thread.start()) << "only the first call tells";
    allowThreads();
    thread.join();
    EXPECT_EQ(0UL, thread.getThreadHandle());
    EXPECT_EQ(1, log.count("C", "WindowsThread create thread failed for: 11"));
}
