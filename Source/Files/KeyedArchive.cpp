#include "KeyedArchive_p.h"

#include "PvPlistGuard_p.h"

#include <plist/plist.h>

#include <cstdlib>

namespace {

constexpr int kMaxDepth = 8; // nesting of objects followed while reading
constexpr int kMaxValues = 4096; // field values read in all, so shared objects cannot blow up
constexpr uint32_t kMaxArchive = 1u << 24; // archives larger than 16 MiB are refused

class Plist {
public:
    Plist() = default;
    explicit Plist(plist_t node)
        : m_node(node)
    {
    }
    ~Plist()
    {
        if (m_node)
            plist_free(m_node);
    }
    Plist(const Plist&) = delete;
    Plist& operator=(const Plist&) = delete;
    plist_t get() const { return m_node; }
    plist_t* out() { return &m_node; }
    plist_t release()
    {
        plist_t node = m_node;
        m_node = nullptr;
        return node;
    }

private:
    plist_t m_node = nullptr;
};

QString stringOf(plist_t node)
{
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? QString::fromUtf8(text, qsizetype(length)) : QString();
}

bool uidOf(plist_t node, uint64_t* uid)
{
    if (!node || plist_get_node_type(node) != PLIST_UID)
        return false;
    plist_get_uid_val(node, uid);
    return true;
}

QString classNameOf(plist_t objects, plist_t object)
{
    uint64_t uid = 0;
    if (!uidOf(plist_dict_get_item(object, "$class"), &uid) || uid >= plist_array_get_size(objects))
        return {};
    plist_t cls = plist_array_get_item(objects, uint32_t(uid));
    if (!cls || plist_get_node_type(cls) != PLIST_DICT)
        return {};
    plist_t name = plist_dict_get_item(cls, "$classname");
    if (!name || plist_get_node_type(name) != PLIST_STRING)
        return {};
    return stringOf(name);
}

bool readObject(plist_t objects, plist_t object, int depth, int* budget, QVariantMap* fields);

// One field value, following UIDs into the object table.
bool readValue(plist_t objects, plist_t value, int depth, int* budget, QVariant* out)
{
    if (--*budget < 0)
        return false;
    uint64_t uid = 0;
    if (uidOf(value, &uid)) {
        if (uid >= plist_array_get_size(objects) || depth >= kMaxDepth)
            return false;
        plist_t target = plist_array_get_item(objects, uint32_t(uid));
        if (!target)
            return false;
        if (plist_get_node_type(target) == PLIST_STRING && stringOf(target) == QLatin1String("$null")) {
            *out = QVariant();
            return true;
        }
        if (plist_get_node_type(target) == PLIST_DICT) {
            QVariantMap nested;
            if (!readObject(objects, target, depth + 1, budget, &nested))
                return false;
            *out = nested;
            return true;
        }
        return readValue(objects, target, depth + 1, budget, out);
    }
    switch (plist_get_node_type(value)) {
    case PLIST_STRING:
        *out = stringOf(value);
        return true;
    case PLIST_DATA: {
        uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(value, &length);
        *out = QByteArray(bytes, qsizetype(length));
        return true;
    }
    case PLIST_UINT: {
        uint64_t number = 0;
        plist_get_uint_val(value, &number);
        *out = qulonglong(number);
        return true;
    }
    case PLIST_BOOLEAN: {
        uint8_t flag = 0;
        plist_get_bool_val(value, &flag);
        *out = bool(flag);
        return true;
    }
    default:
        *out = QVariant(); // kinds no caller needs are read as absent
        return true;
    }
}

bool readObject(plist_t objects, plist_t object, int depth, int* budget, QVariantMap* fields)
{
    const QString className = classNameOf(objects, object);
    if (className.isEmpty())
        return false;
    fields->insert(QStringLiteral("$classname"), className);
    plist_dict_iter iter = nullptr;
    plist_dict_new_iter(object, &iter);
    if (!iter)
        return false;
    bool ok = true;
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(object, iter, &key, &value);
        if (!key || !value) {
            std::free(key);
            break;
        }
        const QString name = QString::fromUtf8(key);
        std::free(key);
        if (name == QLatin1String("$class"))
            continue;
        QVariant v;
        if (!readValue(objects, value, depth, budget, &v)) {
            ok = false;
            break;
        }
        fields->insert(name, v);
    }
    std::free(iter);
    return ok;
}

} // namespace

QByteArray PvKeyedArchive::archive(const QString& className, const QVariantMap& fields)
{
    Plist objects(plist_new_array());
    plist_array_append_item(objects.get(), plist_new_string("$null"));
    plist_t root = plist_new_dict();
    plist_array_append_item(objects.get(), root);
    for (auto it = fields.constBegin(); it != fields.constEnd(); ++it) {
        const QByteArray key = it.key().toUtf8();
        const QVariant& value = it.value();
        if (!value.isValid() || value.isNull()) {
            plist_dict_set_item(root, key.constData(), plist_new_uid(0));
        } else if (value.typeId() == QMetaType::QByteArray) {
            const QByteArray bytes = value.toByteArray();
            plist_dict_set_item(
                root, key.constData(), plist_new_data(bytes.constData(), uint64_t(bytes.size())));
        } else if (value.typeId() == QMetaType::QString) {
            const uint64_t uid = plist_array_get_size(objects.get());
            plist_array_append_item(objects.get(), plist_new_string(value.toString().toUtf8().constData()));
            plist_dict_set_item(root, key.constData(), plist_new_uid(uid));
        } else {
            plist_dict_set_item(root, key.constData(), plist_new_uint(uint64_t(value.toLongLong())));
        }
    }
    const uint64_t classUID = plist_array_get_size(objects.get());
    plist_t cls = plist_new_dict();
    plist_dict_set_item(cls, "$classname", plist_new_string(className.toUtf8().constData()));
    plist_t classes = plist_new_array();
    plist_array_append_item(classes, plist_new_string(className.toUtf8().constData()));
    plist_array_append_item(classes, plist_new_string("NSObject"));
    plist_dict_set_item(cls, "$classes", classes);
    plist_array_append_item(objects.get(), cls);
    plist_dict_set_item(root, "$class", plist_new_uid(classUID));

    Plist top(plist_new_dict());
    plist_dict_set_item(top.get(), "$version", plist_new_uint(100000));
    plist_dict_set_item(top.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
    plist_t topDict = plist_new_dict();
    plist_dict_set_item(topDict, "root", plist_new_uid(1));
    plist_dict_set_item(top.get(), "$top", topDict);
    plist_dict_set_item(top.get(), "$objects", objects.release());

    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(top.get(), &bytes, &length);
    QByteArray result(bytes, qsizetype(bytes ? length : 0));
    plist_to_bin_free(bytes);
    return result;
}

bool PvKeyedArchive::unarchive(const QByteArray& bytes, QString* className, QVariantMap* fields)
{
    if (bytes.size() < 8 || uint64_t(bytes.size()) > kMaxArchive || !bytes.startsWith("bplist00")
        || !PvBinaryPlistIsTame(bytes.constData(), size_t(bytes.size())))
        return false;
    Plist top;
    plist_from_bin(bytes.constData(), uint32_t(bytes.size()), top.out());
    if (!top.get() || plist_get_node_type(top.get()) != PLIST_DICT)
        return false;
    plist_t archiver = plist_dict_get_item(top.get(), "$archiver");
    if (!archiver || plist_get_node_type(archiver) != PLIST_STRING
        || stringOf(archiver) != QLatin1String("NSKeyedArchiver"))
        return false;
    plist_t objects = plist_dict_get_item(top.get(), "$objects");
    plist_t topDict = plist_dict_get_item(top.get(), "$top");
    if (!objects || plist_get_node_type(objects) != PLIST_ARRAY || !topDict
        || plist_get_node_type(topDict) != PLIST_DICT)
        return false;
    uint64_t rootUID = 0;
    if (!uidOf(plist_dict_get_item(topDict, "root"), &rootUID) || rootUID >= plist_array_get_size(objects))
        return false;
    plist_t root = plist_array_get_item(objects, uint32_t(rootUID));
    if (!root || plist_get_node_type(root) != PLIST_DICT)
        return false;
    QVariantMap result;
    int budget = kMaxValues;
    if (!readObject(objects, root, 0, &budget, &result))
        return false;
    if (className)
        *className = result.take(QStringLiteral("$classname")).toString();
    if (fields)
        *fields = result;
    return true;
}
