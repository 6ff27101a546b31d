// The service records on the wire: field ids and types, round trips, enumeration tables and
// the printed form.

#include "service/service_types_meta.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <QVariant>
#include <QtTest>

#include <functional>
#include <sstream>

using namespace CorvelService;
using namespace apache::thrift::protocol;
using apache::thrift::transport::TMemoryBuffer;

namespace {

template <typename Record>
std::string printed(const Record& record)
{
    std::ostringstream out;
    record.printTo(out);
    return out.str();
}

template <typename Record>
std::string wireBytes(const Record& record, uint32_t* count = nullptr)
{
    auto buffer = std::make_shared<TMemoryBuffer>();
    TBinaryProtocol protocol(buffer);
    const uint32_t written = record.write(&protocol);
    if (count)
        *count = written;
    return buffer->getBufferAsString();
}

// "id:type" of each top-level field as it appears on the wire.
QString fieldLayout(const std::string& bytes)
{
    auto buffer = std::make_shared<TMemoryBuffer>(reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())),
                                                  static_cast<uint32_t>(bytes.size()), TMemoryBuffer::COPY);
    TBinaryProtocol protocol(buffer);
    std::string name;
    TType type;
    int16_t id;
    QStringList fields;
    protocol.readStructBegin(name);
    for (;;) {
        protocol.readFieldBegin(name, type, id);
        if (type == T_STOP)
            break;
        fields << QString("%1:%2").arg(id).arg(int(type));
        protocol.skip(type);
        protocol.readFieldEnd();
    }
    return fields.join(' ');
}

// A record with every field away from its default, nested records and lists included.
JobDescription sampleJob()
{
    JobDescription job;
    job.__set_id("8c1d0f3e-1");
    job.__set_description("Nightly test");
    JobConfiguration& c = job.configuration;
    c.__set_client_name("Harrowgate Dental");
    c.__set_device_name("FS-01");
    c.__set_device_id(9007199254740993LL);
    c.__set_recovery_point("2024_05_30_02_00_00");
    c.__set_device_host("backup-1.cloud.invalid");
    c.__set_device_token("t\xc3\xb6ken");
    c.__set_local_cache_path("\\\\nas\\cache");
    c.__set_local_cache_login("reader");
    c.__set_local_cache_password("pw");
    c.__set_local_cache_read_only(true);
    c.__set_mount_point("E:\\");
    c.__set_virtual_disk_type(VirtualDiskType::VhdAzure);
    c.__set_use_dynamic_virtual_disk(true);
    c.__set_disks_names({"Disk 0", "Disk 1"});
    VMSettings& vm = c.vm_settings;
    vm.__set_generation(2);
    vm.__set_name("FS-01-recovered");
    vm.__set_ram_bytes(8LL << 30);
    vm.__set_cpu_cores(4);
    vm.__set_boot_on_start(true);
    vm.__set_network_adapters({"net-a", "net-b"});
    vm.__set_storage_location("D:\\VMs");
    vm.__set_virtualization_type(VirtualizationType::Production);
    vm.__set_reserve(10);
    vm.__set_limit(90);
    vm.__set_relative_weight(200);
    job.__isset.configuration = true;
    job.__set_job_type(JobType::VirtualExport);
    job.__set_status(JobStatus::Running);
    job.__set_actions(JobAction::Stop | JobAction::Cancel);
    CurrentWork work;
    work.__set_text("Exporting disks");
    work.__set_technical_details("Disk 1 of 2");
    work.__set_progress(-128);
    job.__set_current_work(work);
    job.__set_target_runtime_status(TargetRuntimeStatus::ForceShutdown);
    job.__set_substatus("ok");
    return job;
}

DiskInfo sampleDisk()
{
    DiskInfo disk;
    disk.__set_name("Disk 0");
    disk.__set_is_system(true);
    DiskVolumeInfo small, large;
    small.__set_size(1024);
    large.__set_size(-1);
    disk.__set_volumes({small, large});
    disk.__set_style(DiskStyle::GPT);
    return disk;
}

// Round trip of one record: same value, same byte count both ways, every field marked present.
template <typename Record>
void checkRoundTrip(const Record& original, const QString& expectedLayout)
{
    uint32_t written = 0;
    const std::string bytes = wireBytes(original, &written);
    QCOMPARE(size_t(written), bytes.size());
    QCOMPARE(fieldLayout(bytes), expectedLayout);

    auto buffer = std::make_shared<TMemoryBuffer>(reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())),
                                                  static_cast<uint32_t>(bytes.size()), TMemoryBuffer::COPY);
    TBinaryProtocol protocol(buffer);
    Record copy;
    QCOMPARE(copy.read(&protocol), written);
    QVERIFY(copy == original);
    QCOMPARE(printed(copy), printed(original));
    QCOMPARE(wireBytes(copy), bytes);
}

} // namespace

class TestServiceTypes : public QObject {
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void readSkipsUnknownAndMistypedFields();
    void enumerationTables_data();
    void enumerationTables();
    void valuesOutsideTables();
    void actionFlags_data();
    void actionFlags();
    void printedForm();
    void virtualDiskTypeInVariant();
};

void TestServiceTypes::roundTrip_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<bool>("filled");
    QTest::addColumn<QString>("layout");

    const QList<QPair<QString, QString>> layouts{
        {"CurrentWork", "1:11 2:11 3:3"},
        {"DiskVolumeInfo", "1:10"},
        {"DiskInfo", "1:11 2:2 3:15 4:8"},
        {"VirtualNetwork", "1:11 2:11"},
        {"VMSettings", "1:8 2:11 3:10 4:8 5:2 6:15 7:11 8:8 9:8 10:8 11:8"},
        {"JobConfiguration", "1:11 2:11 3:10 4:11 5:11 6:11 7:11 8:11 9:11 10:2 11:11 12:8 13:2 14:15 15:12"},
        {"JobDescription", "1:11 2:11 3:12 4:8 5:8 6:8 7:12 8:8 9:11"},
        {"JobMutableSettings", "1:2"},
    };
    for (const auto& entry : layouts) {
        QTest::newRow(qPrintable(entry.first + " filled")) << entry.first << true << entry.second;
        QTest::newRow(qPrintable(entry.first + " default")) << entry.first << false << entry.second;
    }
}

void TestServiceTypes::roundTrip()
{
    QFETCH(QString, record);
    QFETCH(bool, filled);
    QFETCH(QString, layout);

    const JobDescription job = filled ? sampleJob() : JobDescription();
    const DiskInfo disk = filled ? sampleDisk() : DiskInfo();
    VirtualNetwork network;
    JobMutableSettings settings;
    if (filled) {
        network.__set_id("c08cb7b8");
        network.__set_name("Default Switch");
        settings.__set_delete_created_vm(true);
    }

    if (record == "CurrentWork")
        checkRoundTrip(job.current_work, layout);
    else if (record == "DiskVolumeInfo")
        checkRoundTrip(filled ? disk.volumes.at(0) : DiskVolumeInfo(), layout);
    else if (record == "DiskInfo")
        checkRoundTrip(disk, layout);
    else if (record == "VirtualNetwork")
        checkRoundTrip(network, layout);
    else if (record == "VMSettings")
        checkRoundTrip(job.configuration.vm_settings, layout);
    else if (record == "JobConfiguration")
        checkRoundTrip(job.configuration, layout);
    else if (record == "JobDescription")
        checkRoundTrip(job, layout);
    else if (record == "JobMutableSettings")
        checkRoundTrip(settings, layout);
    else
        QFAIL("no such record");
}

void TestServiceTypes::readSkipsUnknownAndMistypedFields()
{
    // DiskInfo with an unknown field 9, "name" sent as an i32, and "style" arriving first.
    auto buffer = std::make_shared<TMemoryBuffer>();
    TBinaryProtocol out(buffer);
    out.writeStructBegin("DiskInfo");
    out.writeFieldBegin("style", T_I32, 4);
    out.writeI32(DiskStyle::RAW);
    out.writeFieldBegin("future", T_STRING, 9);
    out.writeString(std::string("ignored"));
    out.writeFieldBegin("name", T_I32, 1);
    out.writeI32(7);
    out.writeFieldBegin("is_system", T_BOOL, 2);
    out.writeBool(true);
    out.writeFieldStop();
    out.writeStructEnd();

    DiskInfo disk;
    disk.read(&out);
    QCOMPARE(disk.style, DiskStyle::RAW);
    QVERIFY(disk.is_system);
    QCOMPARE(disk.name, std::string());
    QVERIFY(!disk.__isset.name);
    QVERIFY(!disk.__isset.volumes);
    QVERIFY(disk.__isset.style);
}

void TestServiceTypes::enumerationTables_data()
{
    QTest::addColumn<QString>("printedValue");
    QTest::addColumn<QString>("name");

    const auto add = [](const char* enumeration, int value, const std::string& printedValue, const char* name) {
        QTest::addRow("%s %d", enumeration, value) << QString::fromStdString(printedValue) << QString(name);
    };
    const char* jobTypes[] = {"Virtualization", "FileRecovery", "VirtualExport"};
    for (int v = 0; v < 3; ++v)
        add("JobType", v, to_string(JobType::type(v)), jobTypes[v]);
    const char* statuses[] = {"Created", "Initializing", "Stopped", "Starting", "Running",
                              "Stopping", "PendingDelete", "Deleting", "Deleted"};
    for (int v = 0; v < 9; ++v)
        add("JobStatus", v, to_string(JobStatus::type(v)), statuses[v]);
    const std::pair<int, const char*> actions[] = {{0, "None"}, {1, "Start"}, {2, "Stop"}, {4, "Delete"}, {8, "Cancel"}};
    for (const auto& a : actions)
        add("JobAction", a.first, to_string(JobAction::type(a.first)), a.second);
    const char* runtime[] = {"Stopped", "Running", "Deleted", "Shutdown", "ForceShutdown"};
    for (int v = 0; v < 5; ++v)
        add("TargetRuntimeStatus", v, to_string(TargetRuntimeStatus::type(v)), runtime[v]);
    const char* virtualization[] = {"Test", "Production"};
    for (int v = 0; v < 2; ++v)
        add("VirtualizationType", v, to_string(VirtualizationType::type(v)), virtualization[v]);
    const char* disks[] = {"None", "VmdkEsxi", "VmdkWorkstation", "VhdGenOne", "VhdxGenTwo",
                           "VdiVirtualBox", "Qcow2KvmQemu", "RawKvmQemu", "VhdAzure"};
    for (int v = 0; v < 9; ++v)
        add("VirtualDiskType", v, to_string(VirtualDiskType::type(v)), disks[v]);
    const char* styles[] = {"MBR", "GPT", "RAW"};
    for (int v = 0; v < 3; ++v)
        add("DiskStyle", v, to_string(DiskStyle::type(v)), styles[v]);
}

void TestServiceTypes::enumerationTables()
{
    QFETCH(QString, printedValue);
    QFETCH(QString, name);
    QCOMPARE(printedValue, name);
}

void TestServiceTypes::valuesOutsideTables()
{
    JobDescription job;
    job.__set_job_type(JobType::type(-1));
    job.__set_status(JobStatus::type(42));
    job.__set_target_runtime_status(TargetRuntimeStatus::type(5));
    job.configuration.__set_virtual_disk_type(VirtualDiskType::type(1000));
    job.configuration.vm_settings.__set_virtualization_type(VirtualizationType::type(2));
    checkRoundTrip(job, "1:11 2:11 3:12 4:8 5:8 6:8 7:12 8:8 9:11");

    const std::string text = printed(job);
    for (const char* part : {"job_type=-1", "status=42", "target_runtime_status=5", "virtual_disk_type=1000",
                             "virtualization_type=2"})
        QVERIFY2(text.find(part) != std::string::npos, part);
    DiskInfo disk;
    disk.__set_style(DiskStyle::type(3));
    QCOMPARE(printed(disk), std::string("DiskInfo(name=, is_system=0, volumes=[], style=3)"));
}

void TestServiceTypes::actionFlags_data()
{
    QTest::addColumn<int>("actions");
    QTest::addColumn<bool>("start");
    QTest::addColumn<bool>("stop");
    QTest::addColumn<bool>("remove");
    QTest::addColumn<bool>("cancel");

    QTest::newRow("0 allows nothing") << 0 << false << false << false << false;
    QTest::newRow("15 allows all four") << 15 << true << true << true << true;
    QTest::newRow("5 start and delete") << 5 << true << false << true << false;
    QTest::newRow("10 stop and cancel") << 10 << false << true << false << true;
}

void TestServiceTypes::actionFlags()
{
    QFETCH(int, actions);
    QFETCH(bool, start);
    QFETCH(bool, stop);
    QFETCH(bool, remove);
    QFETCH(bool, cancel);

    // Through the wire, as the jobs table receives it.
    JobDescription sent;
    sent.__set_actions(actions);
    const std::string bytes = wireBytes(sent);
    auto buffer = std::make_shared<TMemoryBuffer>(reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())),
                                                  static_cast<uint32_t>(bytes.size()), TMemoryBuffer::COPY);
    TBinaryProtocol protocol(buffer);
    JobDescription job;
    job.read(&protocol);

    QCOMPARE(bool(job.actions & JobAction::Start), start);
    QCOMPARE(bool(job.actions & JobAction::Stop), stop);
    QCOMPARE(bool(job.actions & JobAction::Delete), remove);
    QCOMPARE(bool(job.actions & JobAction::Cancel), cancel);
    QCOMPARE(job.actions == JobAction::None, !(start || stop || remove || cancel));
}

void TestServiceTypes::printedForm()
{
    QCOMPARE(printed(sampleDisk()),
             std::string("DiskInfo(name=Disk 0, is_system=1, volumes=[DiskVolumeInfo(size=1024), "
                         "DiskVolumeInfo(size=-1)], style=GPT)"));

    JobDescription job;
    job.__set_id("j1");
    job.__set_status(JobStatus::Running);
    job.__set_actions(15);
    job.configuration.__set_disks_names({"Disk 0", "Disk 1"});
    job.configuration.vm_settings.__set_network_adapters({"net-a"});
    // The byte "progress" is left out: the stream prints it as a character.
    const std::string text = printed(job);
    const std::string head =
        "JobDescription(id=j1, description=, configuration=JobConfiguration(client_name=, device_name=, "
        "device_id=0, recovery_point=, device_host=, device_token=, local_cache_path=, local_cache_login=, "
        "local_cache_password=, local_cache_read_only=0, mount_point=, virtual_disk_type=None, "
        "use_dynamic_virtual_disk=0, disks_names=[Disk 0, Disk 1], vm_settings=VMSettings(generation=0, name=, "
        "ram_bytes=0, cpu_cores=0, boot_on_start=0, network_adapters=[net-a], storage_location=, "
        "virtualization_type=Test, reserve=0, limit=0, relative_weight=0)), job_type=Virtualization, "
        "status=Running, actions=15, current_work=CurrentWork(text=, technical_details=, progress=";
    const std::string tail = "), target_runtime_status=Stopped, substatus=)";
    QCOMPARE(text.substr(0, head.size()), head);
    QCOMPARE(text.substr(text.size() - tail.size()), tail);
}

void TestServiceTypes::virtualDiskTypeInVariant()
{
    registerServiceMetaTypes();
    const int id = QMetaType::type("CorvelService::VirtualDiskType::type");
    QVERIFY(id != QMetaType::UnknownType);
    const QVariant value = QVariant::fromValue(VirtualDiskType::Qcow2KvmQemu);
    QCOMPARE(value.userType(), id);
    QCOMPARE(value.value<VirtualDiskType::type>(), VirtualDiskType::Qcow2KvmQemu);
}

QTEST_GUILESS_MAIN(TestServiceTypes)
#include "tst_service_types.moc"
