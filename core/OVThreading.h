#pragma once

#include <QMutex>
#include <QSemaphore>
#include <QThread>

#include "core/GrowArray.h"

// A mutex behind an abstract interface, so callers never name Qt types.
class OVThreadLock
{
public:
    virtual ~OVThreadLock() = default;
    virtual void lock() = 0;
    virtual void unlock() = 0;
    virtual bool tryLock() = 0;
};

class OVThreadLockQT : public OVThreadLock
{
public:
    OVThreadLockQT() : mutex(new QMutex(QMutex::NonRecursive)) {}
    ~OVThreadLockQT() override { delete mutex; }
    OVThreadLockQT(OVThreadLockQT const&) = delete;
    OVThreadLockQT& operator=(OVThreadLockQT const&) = delete;

    void lock() override;
    void unlock() override;
    bool tryLock() override;

private:
    QMutex* mutex;
};

// A semaphore behind an abstract interface.
class OVThreadSemaphore
{
public:
    virtual ~OVThreadSemaphore() = default;
    virtual void acquire() = 0;
    virtual void release() = 0;
};

class OVThreadSemaphoreQT : public OVThreadSemaphore
{
public:
    OVThreadSemaphoreQT() : semaphore(new QSemaphore(1)) {}
    ~OVThreadSemaphoreQT() override { delete semaphore; }
    OVThreadSemaphoreQT(OVThreadSemaphoreQT const&) = delete;
    OVThreadSemaphoreQT& operator=(OVThreadSemaphoreQT const&) = delete;

    void acquire() override;
    void release() override;

private:
    QSemaphore* semaphore;
};

// Every lock and semaphore of the engine comes from these; the caller owns
// the result. Semaphores admit a single holder whatever the count asked for.
OVThreadLock* createNewOVThreadLock();
OVThreadSemaphore* createNewOVThreadSemaphore(int ignoredCount);

// A detached worker thread running plain function pointers. Started workers
// are kept in a queue and deleted lazily once finished, when the next worker
// starts.
// Call before starting a thread. Qt sets up its text codecs on first use
// without guarding against two threads doing it at once, and a new thread
// names itself through them: two first uses at once deadlock. Settling the
// codec on the starting thread first rules that out.
void prepareForWorkerThreads();

class OVQTThread : public QThread
{
public:
    void (*work)() = nullptr;
    void (*done)() = nullptr;
    void (*workWithArg)(void*) = nullptr;
    void (*doneWithArg)(void*) = nullptr;
    void* arg = nullptr;

    static GrowArray<OVQTThread*> deleteQueue;
    static QMutex accessLock;

    // Reaps finished workers, queues this one and starts it.
    static void startDetached(OVQTThread* thread, QThread::Priority priority);

protected:
    void run() override;
};
