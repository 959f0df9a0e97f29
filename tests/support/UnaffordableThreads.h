#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

// While it lives, no thread can be started: each would need a stack that no machine has.
class CUnaffordableThreads {
public:
    CUnaffordableThreads() {
        EXPECT_EQ(pthread_getattr_default_np(&m_Usual), 0);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        EXPECT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 46), 0);
        EXPECT_EQ(pthread_setattr_default_np(&huge), 0);
        pthread_attr_destroy(&huge);
    }
    CUnaffordableThreads(const CUnaffordableThreads&) = delete;
    CUnaffordableThreads& operator=(const CUnaffordableThreads&) = delete;
    ~CUnaffordableThreads() {
        pthread_setattr_default_np(&m_Usual);
        pthread_attr_destroy(&m_Usual);
    }

private:
    pthread_attr_t m_Usual;
};
