#include "core/OVThreading.h"

#include "core/SyncAnnotations.h"

void OVThreadLockQT::lock()
{
    mutex->lock();
    syncAcquire(this);
}

void OVThreadLockQT::unlock()
{
    syncRelease(this);
    mutex->unlock();
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
    syncRelease(this);
    semaphore->release(1);
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

void OVQTThread::startDetached(OVQTThread* thread, QThread::Priority priority)
{
    accessLock.lock();
    syncAcquire(&accessLock);
    for (int32_t i = deleteQueue.count - 1; i >= 0; --i) {
        if (deleteQueue[i]->isFinished()) {
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
}
