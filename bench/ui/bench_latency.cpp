// How long the console's window takes to answer, per scenario. Run it under an X server, with a
// session bus when accessibility is wanted (bench/ui/run_latency does both, with and without it):
//   bench_latency [--seconds N] [--only NAME]
// Outside: a thread of its own with its own X connection sends the window a _NET_WM_PING every
// 50 ms; the window manager's ping is answered on the GUI thread, so the round trip is how long
// the event loop kept the window waiting. Inside: every dispatch over 16 ms is logged with its
// receiver and event type, its wall time and the GUI thread's CPU time in it (on a loaded machine
// the wall time also counts the time the thread waited for a core). The console runs against the
// service simulator over TLS.
#include "testsupport/wizard_fixture.h"

#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_row_widget.h"
#include "jobs/job_table_widget.h"
#include "service/service_client.h"
#include "session/auth_session.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_tokens.h"
#include "ui/main_window.h"

#include <QAccessible>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMetaEnum>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <xcb/xcb.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <poll.h>
#include <thread>
#include <time.h>
#include <vector>

using namespace CorvelService;

namespace {

constexpr double StallMs = 16.0;

// Pings one window from its own thread and X connection, one ping out at a time.
class WindowPinger {
public:
    WindowPinger()
    {
        m_connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_connection))
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        m_protocols = atom("WM_PROTOCOLS");
        m_ping = atom("_NET_WM_PING");
        // The answer goes to the root window, for whoever listens to its structure.
        const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
        m_thread = std::thread([this] { run(); });
    }
    ~WindowPinger()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        xcb_disconnect(m_connection);
    }
    bool ok() const { return m_thread.joinable(); }

    // Pings `window` from now on (0: none) and forgets the round trips so far.
    void target(xcb_window_t window)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_window = window;
        m_samples.clear();
    }
    xcb_window_t target()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_window;
    }
    std::vector<double> samples()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_samples;
    }

private:
    xcb_atom_t atom(const char* name)
    {
        auto cookie = xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(std::strlen(name)), name);
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(m_connection, cookie, nullptr);
        const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        free(reply);
        return value;
    }

    void run()
    {
        using Clock = std::chrono::steady_clock;
        uint32_t serial = 0;
        auto next = Clock::now();
        while (!m_stop) {
            std::this_thread::sleep_until(next);
            next += std::chrono::milliseconds(50);
            xcb_window_t window;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                window = m_window;
            }
            if (!window)
                continue;
            xcb_client_message_event_t event{};
            event.response_type = XCB_CLIENT_MESSAGE;
            event.format = 32;
            event.window = window;
            event.type = m_protocols;
            event.data.data32[0] = m_ping;
            event.data.data32[1] = ++serial;
            event.data.data32[2] = window;
            const auto sent = Clock::now();
            xcb_send_event(m_connection, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
            xcb_flush(m_connection);
            bool answered = false;
            // A window let go of while its ping is out may be gone: wait no longer for it.
            while (!answered && !m_stop && target() == window) {
                pollfd fd{xcb_get_file_descriptor(m_connection), POLLIN, 0};
                ::poll(&fd, 1, 100);
                while (xcb_generic_event_t* got = xcb_poll_for_event(m_connection)) {
                    if ((got->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
                        auto* reply = reinterpret_cast<xcb_client_message_event_t*>(got);
                        answered |= reply->data.data32[0] == m_ping && reply->data.data32[1] == serial;
                    }
                    free(got);
                }
                if (std::chrono::duration<double>(Clock::now() - sent).count() > 30)
                    break; // the window is gone
            }
            const double ms = std::chrono::duration<double, std::milli>(Clock::now() - sent).count();
            std::lock_guard<std::mutex> lock(m_mutex);
            if (answered && m_window == window)
                m_samples.push_back(ms);
            next = std::max(next, Clock::now());
        }
    }

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = 0;
    xcb_atom_t m_protocols = 0, m_ping = 0;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    xcb_window_t m_window = 0;
    std::vector<double> m_samples;
};

struct Stall {
    double ms;
    double cpuMs;
    QString what;
};

double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// Times each dispatch of the event loop (nested ones count in the outer one).
class TimedApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (m_depth > 0 || !m_logging)
            return QApplication::notify(receiver, event);
        ++m_depth;
        const int type = event->type();
        QElapsedTimer timer;
        timer.start();
        const double cpuStart = threadCpuMs();
        const bool result = QApplication::notify(receiver, event);
        const double ms = timer.nsecsElapsed() / 1e6;
        const double cpuMs = threadCpuMs() - cpuStart;
        --m_depth;
        // The thread's CPU time never exceeds the wall time, so this catches every costly dispatch.
        if (ms > StallMs)
            m_stalls.push_back({ms, cpuMs, describe(receiver, type)});
        return result;
    }

    void startLog()
    {
        m_stalls.clear();
        m_logging = true;
    }
    std::vector<Stall> stopLog()
    {
        m_logging = false;
        return std::move(m_stalls);
    }

private:
    static QString describe(QObject* receiver, int type)
    {
        static const QMetaEnum types = QMetaEnum::fromType<QEvent::Type>();
        const char* name = types.valueToKey(type);
        return QString("%1 \"%2\" %3")
            .arg(receiver->metaObject()->className(), receiver->objectName(),
                 name ? QString(name) : QString::number(type));
    }

    int m_depth = 0;
    bool m_logging = false;
    std::vector<Stall> m_stalls;
};

TimedApplication* timedApp()
{
    return static_cast<TimedApplication*>(qApp);
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, static_cast<size_t>(p * static_cast<double>(values.size())));
    return values[index];
}

struct Figures {
    std::vector<double> pings;
    std::vector<Stall> stalls;
    // The GUI thread's CPU time over the whole scenario, in percent of one core.
    double cpuShare = 0;
};

WindowPinger* pinger = nullptr;

// Runs the event loop for `ms`, calling `step` every `stepMs` if given, and returns what both sides saw.
Figures measure(QWidget* window, int ms, const std::function<void(int)>& step = {}, int stepMs = 0)
{
    pinger->target(static_cast<xcb_window_t>(window->winId()));
    timedApp()->startLog();
    QEventLoop loop;
    QTimer stepper;
    int steps = 0;
    if (step) {
        QObject::connect(&stepper, &QTimer::timeout, [&] { step(steps++); });
        stepper.start(stepMs);
    }
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    const double cpuStart = threadCpuMs();
    loop.exec();
    stepper.stop();
    Figures figures;
    figures.cpuShare = 100 * (threadCpuMs() - cpuStart) / ms;
    figures.stalls = timedApp()->stopLog();
    figures.pings = pinger->samples();
    pinger->target(0);
    return figures;
}

void report(const char* scenario, const Figures& f)
{
    double inside = 0, cpu = 0;
    size_t cpuOver = 0;
    for (const Stall& stall : f.stalls) {
        inside = std::max(inside, stall.ms);
        cpu = std::max(cpu, stall.cpuMs);
        cpuOver += stall.cpuMs > StallMs;
    }
    std::printf("%-34s %6zu %8.1f %8.1f %8.1f %10.1f %6zu %9.1f %6zu %6.1f\n", scenario, f.pings.size(),
                percentile(f.pings, 0.5), percentile(f.pings, 0.99), percentile(f.pings, 1.0), inside, f.stalls.size(),
                cpu, cpuOver, f.cpuShare);
    // The costliest few dispatches in CPU time, once each.
    std::map<QString, std::pair<double, double>> worst;
    for (const Stall& stall : f.stalls) {
        auto& entry = worst[stall.what];
        if (stall.cpuMs > entry.first)
            entry = {stall.cpuMs, stall.ms};
    }
    std::vector<std::pair<std::pair<double, double>, QString>> sorted;
    for (const auto& entry : worst)
        sorted.push_back({entry.second, entry.first});
    std::sort(sorted.rbegin(), sorted.rend());
    for (size_t i = 0; i < sorted.size() && i < 4; ++i)
        std::printf("      cpu %6.1f ms, wall %6.1f ms  %s\n", sorted[i].first.first, sorted[i].first.second,
                    qPrintable(sorted[i].second));
    std::fflush(stdout);
}

// Registers for every object event on the accessibility bus, as a screen reader does, so the
// console's bridge sends them.
bool attachReader()
{
    QDBusInterface launcher("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", QDBusConnection::sessionBus());
    QDBusReply<QString> address = launcher.call("GetAddress");
    if (!address.isValid())
        return false;
    QDBusConnection bus = QDBusConnection::connectToBus(address.value(), "bench_reader");
    QDBusInterface registry("org.a11y.atspi.Registry", "/org/a11y/atspi/registry", "org.a11y.atspi.Registry", bus);
    for (const char* event : {"object:", "window:", "focus:"})
        registry.call("RegisterEvent", QString(event));
    return bus.isConnected();
}

struct Console {
    CorvelTest::ServiceSim sim;
    std::unique_ptr<ServiceConnection> connection;
    std::unique_ptr<TmxAuth::AuthSession> session;
    std::unique_ptr<Corvel::MainWindow> window;
    CvJobs::JobTableWidget* table = nullptr;
    double firstRowMs = -1;
    double firstRowCpuMs = -1;
    // Pings the window from the moment it is shown.
    bool ping = false;

    bool start(const QString& certDir, const CorvelWidgets::IconFont& iconFont, const QStringList& simArguments)
    {
        const QString error = sim.start(certDir, simArguments);
        if (!error.isEmpty()) {
            std::fprintf(stderr, "%s\n", qPrintable(error));
            return false;
        }
        const std::string dir = certDir.toStdString();
        const int port = sim.port();
        connection = std::make_unique<ServiceConnection>(
            [dir, port] { return createServiceClient(dir, "localhost", port); });
        connection->connectNow();
        session = std::make_unique<TmxAuth::AuthSession>(partnerToken());
        QElapsedTimer clock;
        clock.start();
        const double cpuStart = threadCpuMs();
        window = std::make_unique<Corvel::MainWindow>(*session, iconFont, *connection, Corvel::Settings(),
                                                      QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        window->setUpdateOfferBlocked(true);
        window->resize(1366, 768);
        window->show();
        if (ping)
            pinger->target(static_cast<xcb_window_t>(window->winId()));
        table = window->findChild<CvJobs::JobTableWidget*>();
        // Readable: the first row's description is on screen and has its accessible name, seen
        // by a timer, so only once the event loop is free to answer a reader. The loop is a real
        // one, as the console's: QTest's waits sleep 10 ms whenever no event is pending.
        QEventLoop loop;
        QTimer::singleShot(30000, &loop, &QEventLoop::quit);
        QTimer check;
        check.setInterval(2);
        QObject::connect(&check, &QTimer::timeout, [&] {
            CvJobs::JobRowWidget* row = table->jobList()->row(0);
            QWidget* cell = row ? row->cell(CvJobs::JobRowWidget::Description) : nullptr;
            if (!cell || !cell->isVisible())
                return;
            QAccessibleInterface* readable = QAccessible::queryAccessibleInterface(cell);
            if (readable && !readable->text(QAccessible::Name).isEmpty() && firstRowMs < 0) {
                firstRowMs = clock.nsecsElapsed() / 1e6;
                firstRowCpuMs = threadCpuMs() - cpuStart;
                loop.quit();
            }
        });
        check.start();
        loop.exec();
        check.stop();
        return true;
    }

    // Waits for the rows to be built (those far below the view wait to be scrolled near), then a
    // little more.
    void settle()
    {
        (void)QTest::qWaitFor([&] { return table->jobList()->rowCount() > 0 && !table->jobList()->isBuilding(); },
                              60000);
        QTest::qWait(2000);
    }
};

void consoleScenario(const char* name, const QString& certDir, const CorvelWidgets::IconFont& iconFont, int jobs,
                     QStringList simArguments, int seconds)
{
    Console console;
    simArguments << "--jobs" << QString::number(jobs);
    if (!console.start(certDir, iconFont, simArguments))
        return;
    console.settle();
    report(name, measure(console.window.get(), seconds * 1000));
}

void firstRow(const QString& certDir, const CorvelWidgets::IconFont& iconFont, int jobs, int runs)
{
    std::vector<double> times, cpuTimes;
    for (int run = 0; run < runs; ++run) {
        Console console;
        if (!console.start(certDir, iconFont, {"--jobs", QString::number(jobs), "--tick-ms", "3600000"}))
            return;
        times.push_back(console.firstRowMs);
        cpuTimes.push_back(console.firstRowCpuMs);
        console.settle();
    }
    std::printf("first row readable, %4d jobs: median %7.1f ms, worst %7.1f ms; GUI-thread CPU median %7.1f ms "
                "(%d runs)\n",
                jobs, percentile(times, 0.5), percentile(times, 1.0), percentile(cpuTimes, 0.5), runs);
    std::fflush(stdout);
}

// The window opens on 1,000 jobs: everything from its creation until every row is there.
void openingScenario(const QString& certDir, const CorvelWidgets::IconFont& iconFont)
{
    Console console;
    console.ping = true;
    timedApp()->startLog();
    QElapsedTimer wall;
    wall.start();
    const double cpuStart = threadCpuMs();
    if (!console.start(certDir, iconFont, {"--jobs", "1000", "--tick-ms", "3600000"}))
        return;
    console.settle();
    Figures figures;
    figures.cpuShare = 100 * (threadCpuMs() - cpuStart) / static_cast<double>(wall.elapsed());
    figures.stalls = timedApp()->stopLog();
    figures.pings = pinger->samples();
    pinger->target(0);
    report("1000 jobs opening", figures);
}

// Shift+Tab from the button under the table of 1,000 jobs: the focus stays on the last row built
// until the rows down to the last job are there, then moves to it.
void backtabScenario(const QString& certDir, const CorvelWidgets::IconFont& iconFont)
{
    Console console;
    if (!console.start(certDir, iconFont, {"--jobs", "1000", "--tick-ms", "3600000"}))
        return;
    console.settle();
    QApplication::setActiveWindow(console.window.get());
    (void)QTest::qWaitForWindowActive(console.window.get());
    QPushButton* below = nullptr;
    for (QPushButton* button : console.window->findChildren<QPushButton*>())
        if (button->text() == "Job History")
            below = button;
    if (!below)
        return;
    below->setFocus(Qt::TabFocusReason);
    CvJobs::JobListWidget* list = console.table->jobList();
    auto focusedRow = [&] {
        for (int i = list->rowCount() - 1; i >= 0; --i)
            if (list->row(i)->isAncestorOf(QApplication::focusWidget()))
                return i;
        return -1;
    };
    const int builtBefore = list->rowCount();
    QElapsedTimer clock;
    int firstAt = -1;
    qint64 arrivedMs = -1;
    const Figures figures = measure(
        console.window.get(), 30000,
        [&](int step) {
            if (step == 0) {
                clock.start();
                QTest::keyClick(below, Qt::Key_Backtab);
                firstAt = focusedRow();
            } else if (arrivedMs < 0 && list->rowCount() == 1000 &&
                       list->row(999)->isAncestorOf(QApplication::focusWidget())) {
                arrivedMs = clock.elapsed();
            }
        },
        10);
    std::printf("shift+tab from below, 1000 jobs: at once %s (%d built); on the last job's row after %s\n",
                firstAt < 0 ? "not on a row" : qPrintable(QString("on row %1").arg(firstAt + 1)), builtBefore,
                arrivedMs < 0 ? "more than 30 s" : qPrintable(QString("%1 ms").arg(arrivedMs)));
    report("shift+tab from below to the end", figures);
}

// An operator pages down through 1,000 running jobs, a page every 100 ms, then jumps back to the top.
void pagingScenario(const QString& certDir, const CorvelWidgets::IconFont& iconFont, int seconds)
{
    Console console;
    if (!console.start(certDir, iconFont, {"--jobs", "1000", "--tick-ms", "1000", "--endless"}))
        return;
    console.settle();
    QScrollBar* bar = console.table->findChild<QScrollArea*>("job_table_scroll_area")->verticalScrollBar();
    bool end = false;
    const Figures figures = measure(
        console.window.get(), seconds * 1000,
        [&](int) {
            end |= bar->value() == bar->maximum();
            bar->triggerAction(end ? QAbstractSlider::SliderToMinimum : QAbstractSlider::SliderPageStepAdd);
        },
        100);
    report(end ? "1000 jobs paged to the end" : "1000 jobs paging (end not reached)", figures);
}

// The service holds every answer for 10 s: the banner comes, the rows fade, both go when it answers.
void holdScenario(const QString& certDir, const CorvelWidgets::IconFont& iconFont)
{
    Console console;
    if (!console.start(certDir, iconFont,
                       {"--jobs", "100", "--tick-ms", "3600000", "--fault", "getAllJobsInfo=delay:10000"}))
        return;
    console.settle();
    bool bannerSeen = false, bannerGone = false;
    QWidget* banner = console.table->findChild<QWidget*>("job_table_banner");
    const Figures figures = measure(console.window.get(), 24000, [&](int) {
        bannerSeen |= banner->isVisible();
        bannerGone |= bannerSeen && !banner->isVisible();
    }, 100);
    report(bannerSeen && bannerGone ? "service holds answers 10 s" : "service holds (banner not seen both ways)",
           figures);
}

// An operator presses a row's action button every 1.5 s (Stop, Start, Cancel or Delete, as offered).
void actionScenario(const QString& certDir, const CorvelWidgets::IconFont& iconFont, int seconds)
{
    Console console;
    if (!console.start(certDir, iconFont, {"--jobs", "100", "--tick-ms", "1000"}))
        return;
    console.settle();
    CvJobs::JobListWidget* list = console.table->jobList();
    int pressed = 0;
    const Figures figures = measure(console.window.get(), seconds * 1000, [&](int step) {
        for (int i = 0; i < 12; ++i) {
            CvJobs::JobRowWidget* row = list->row((step * 3 + i) % 12);
            if (!row)
                continue;
            for (QPushButton* button : row->actions()->buttons()) {
                if (button->isEnabled() && button->isVisible() && button->text() != "Delete") {
                    QTest::mouseClick(button, Qt::LeftButton);
                    ++pressed;
                    return;
                }
            }
        }
    }, 1500);
    report(pressed > 0 ? "row action" : "row action (no button found)", figures);
}

void wizardScenario(int seconds)
{
    WizardFixture fixture(partnerToken());
    fixture.iconFont = CorvelTest::applyConsoleLook();
    auto wizard = fixture.makeWizard();
    wizard->show();
    QTest::qWait(1000);
    const Figures figures = measure(wizard.get(), seconds * 1000, [&](int step) {
        if (step % 2 == 0)
            wizard->nextPage(step % 4 == 0 ? Corvel::BMRSettings : Corvel::VirtualDiskType);
        else
            wizard->previousPage();
    }, 400);
    report("wizard page change", figures);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    if (qEnvironmentVariableIsEmpty("CORVEL_SOURCE_DIR"))
        qputenv("CORVEL_SOURCE_DIR", CORVEL_SOURCE_ROOT);
    TimedApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("CORVEL_BIN_DIR"))
        qputenv("CORVEL_BIN_DIR", QCoreApplication::applicationDirPath().toLocal8Bit());
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    int seconds = 10;
    QString only;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == "--seconds" && i + 1 < args.size())
            seconds = args[++i].toInt();
        else if (args[i] == "--only" && i + 1 < args.size())
            only = args[++i];
    }
    WindowPinger windowPinger;
    if (!windowPinger.ok()) {
        std::fprintf(stderr, "no X server to ping through (run under xvfb-run)\n");
        return 1;
    }
    pinger = &windowPinger;
    const bool accessible = qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
    const bool reader = accessible && attachReader();
    const CorvelWidgets::IconFont iconFont = CorvelTest::applyConsoleLook();
    QTemporaryDir dir;
    const QString error = dir.isValid() ? CorvelTest::ServiceSim::makeCerts(dir.path()) : "no temporary folder";
    if (!error.isEmpty()) {
        std::fprintf(stderr, "cannot prepare certificates: %s\n", qPrintable(error));
        return 1;
    }
    // The bridge turns itself on once it has found the accessibility bus, a moment after start.
    if (accessible)
        (void)QTest::qWaitFor([] { return QAccessible::isActive(); }, 5000);
    std::printf("accessibility %s%s (QAccessible active: %s)\n", accessible ? "on" : "off",
                reader ? ", a reader registered for every event" : "", QAccessible::isActive() ? "yes" : "no");
    auto wanted = [&](const char* name) { return only.isEmpty() || only == name; };
    if (wanted("first")) {
        firstRow(dir.path(), iconFont, 12, 5);
        firstRow(dir.path(), iconFont, 1000, 5);
    }
    std::printf("X ping every 50 ms to the window, round trip in ms; inside: dispatches over 16 ms, wall and\n"
                "GUI-thread CPU time; cpu%%: the GUI thread's CPU over the scenario, in %% of a core\n");
    std::printf("%-34s %6s %8s %8s %8s %10s %6s %9s %6s %6s\n", "scenario", "pings", "p50", "p99", "worst", "in:worst",
                "in:>16", "cpu:worst", "cpu>16", "cpu%");
    if (wanted("opening"))
        openingScenario(dir.path(), iconFont);
    if (wanted("backtab"))
        backtabScenario(dir.path(), iconFont);
    if (wanted("idle100"))
        consoleScenario("100 jobs idle", dir.path(), iconFont, 100, {"--tick-ms", "3600000"}, seconds);
    if (wanted("idle1000"))
        consoleScenario("1000 jobs idle", dir.path(), iconFont, 1000, {"--tick-ms", "3600000"}, seconds);
    if (wanted("ticking"))
        consoleScenario("1000 jobs ticking", dir.path(), iconFont, 1000, {"--tick-ms", "1000", "--endless"},
                        seconds);
    if (wanted("paging"))
        pagingScenario(dir.path(), iconFont, seconds);
    if (wanted("hold"))
        holdScenario(dir.path(), iconFont);
    if (wanted("action"))
        actionScenario(dir.path(), iconFont, seconds);
    if (wanted("wizard"))
        wizardScenario(seconds);
    return 0;
}
