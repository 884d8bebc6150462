#include "PostTimer.h"

#include <ZpQtCoreLite/ZpHttp.h>

#include <QByteArray>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace {

std::atomic<int64_t> sPosts{0};
std::atomic<int64_t> sNs{0};
std::atomic<int64_t> sBodyBytes{0};
std::atomic<int> sInFlight{0};
std::atomic<int64_t> sFinished{0};
std::atomic<int64_t> sLastReturnNs{0};
std::atomic<int> sLastStatus{0};

// ZpHttp::post as exported by the shared library. A non-virtual member
// function takes `this` as its first argument under the Itanium ABI.
using RealPost = bool (*)(ZpHttp*, const QByteArray&);

RealPost realPost()
{
    static const RealPost real = [] {
        void* symbol = dlsym(RTLD_NEXT, "_ZN6ZpHttp4postERK10QByteArray");
        if (!symbol) {
            fprintf(stderr, "PostTimer: ZpHttp::post not found in the shared libraries\n");
            abort();
        }
        return reinterpret_cast<RealPost>(symbol);
    }();
    return real;
}

} // namespace

bool ZpHttp::post(const QByteArray& body)
{
    const RealPost real = realPost();
    sInFlight.fetch_add(1);
    const int64_t start = PostTimer::nowNs();
    const bool ok = real(this, body);
    const int64_t end = PostTimer::nowNs();
    sNs.fetch_add(end - start);
    sBodyBytes.fetch_add(body.size());
    sPosts.fetch_add(1);
    sLastStatus.store(httpResultCode());
    sLastReturnNs.store(end);
    sFinished.fetch_add(1);
    sInFlight.fetch_sub(1);
    return ok;
}

PostTimer::Totals PostTimer::totals()
{
    Totals totals;
    totals.posts = sPosts.load();
    totals.ns = sNs.load();
    totals.bodyBytes = sBodyBytes.load();
    return totals;
}

void PostTimer::reset()
{
    sPosts.store(0);
    sNs.store(0);
    sBodyBytes.store(0);
}

bool PostTimer::inFlight()
{
    return sInFlight.load() > 0;
}

int64_t PostTimer::finished()
{
    return sFinished.load();
}

int64_t PostTimer::lastReturnNs()
{
    return sLastReturnNs.load();
}

int PostTimer::lastStatus()
{
    return sLastStatus.load();
}

int64_t PostTimer::nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
