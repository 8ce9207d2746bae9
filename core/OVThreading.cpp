#include "core/OVThreading.h"

#include <mutex>

#include <QTextCodec>

#include "core/SyncAnnotations.h"

void OVThreadLockQT::lock()
{
    mutex->lock();
    syncAcquire(this);
}

void OVThreadLockQT::unlock()
{
    QMutex* const m = mutex;
    syncRelease(this);
    m->unlock();
}

bool OVThreadLockQT::tryLock()
{
    bool const taken = mutex->tryLock(0);
    if (taken)
        syncAcquire(this);
    return taken;
}

void OVThreadSemaphoreQT::acquire()
{
    semaphore->acquire(1);
    syncAcquire(this);
}

void OVThreadSemaphoreQT::release()
{
    // A waiter may delete this object as soon as it is released, so nothing
    // of it is read after the hand-over.
    QSemaphore* const s = semaphore;
    syncRelease(this);
    s->release(1);
}

OVThreadLock* createNewOVThreadLock()
{
    return new OVThreadLockQT();
}

OVThreadSemaphore* createNewOVThreadSemaphore(int)
{
    return new OVThreadSemaphoreQT();
}

GrowArray<OVQTThread*> OVQTThread::deleteQueue;
QMutex OVQTThread::accessLock;

namespace {

// Workers still queued at exit are waited for and deleted, after which the
// queue itself goes (statics are destroyed in reverse order).
struct DeleteQueueReaper
{
    ~DeleteQueueReaper()
    {
        for (OVQTThread* thread : OVQTThread::deleteQueue) {
            thread->wait();
            syncAcquire(thread);
            delete thread;
        }
        OVQTThread::deleteQueue.release();
    }
} deleteQueueReaper;

} // namespace

void prepareForWorkerThreads()
{
    static std::once_flag settled;
    std::call_once(settled, [] { QTextCodec::codecForLocale(); });
}

void OVQTThread::startDetached(OVQTThread* thread, QThread::Priority priority)
{
    prepareForWorkerThreads();
    accessLock.lock();
    syncAcquire(&accessLock);
    for (int32_t i = deleteQueue.count - 1; i >= 0; --i) {
        if (deleteQueue[i]->isFinished()) {
            syncAcquire(deleteQueue[i]);
            delete deleteQueue[i];
            deleteQueue.removeAt(i);
        }
    }
    deleteQueue.add(thread);
    syncRelease(&accessLock);
    accessLock.unlock();
    syncRelease(thread);
    thread->start(priority);
}

void OVQTThread::run()
{
    syncAcquire(this);
    if (work)
        work();
    else if (workWithArg)
        workWithArg(arg);
    if (done)
        done();
    else if (doneWithArg)
        doneWithArg(arg);
    syncRelease(this); // whoever sees the thread finished may delete it
}
