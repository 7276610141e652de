#include "security/platform/CBasicPwdDBPlatform.h"

#include "security/platform/linux/StStoreCall.h"

#include <system_error>

namespace {

constexpr SecretSchema kNetSchema = {"org.loam.InternetPassword",
                                     SECRET_SCHEMA_NONE,
                                     {{"protocol", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"server", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"port", SECRET_SCHEMA_ATTRIBUTE_INTEGER},
                                      {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                     0,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr};
constexpr SecretSchema kGenericSchema = {"org.loam.GenericPassword",
                                         SECRET_SCHEMA_NONE,
                                         {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                          {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                          {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                         0,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr};

// By PwdEntryKey::Protocol.
constexpr char const* kProtocolNames[] = {"smtp", "imap", "pop3", "any"};

struct TableUnref
{
    void operator()(GHashTable* table) const { gio::hash_table_unref(table); }
};

struct ItemsFree
{
    void operator()(GList* items) const { gio::list_free_full(items, gio::object_unref); }
};

struct ValueUnref
{
    void operator()(SecretValue* value) const { secret::value_unref(value); }
};

using Table = std::unique_ptr<GHashTable, TableUnref>;
using Items = std::unique_ptr<GList, ItemsFree>;
using Value = std::unique_ptr<SecretValue, ValueUnref>;

void Put(Table const& table, char const* name, std::string const& value)
{
    gio::hash_table_insert(table.get(), const_cast<char*>(name), gio::strdup(value.c_str()));
}

SecretSchema const& SchemaOf(PwdEntryKey const& key)
{
    return key.mIsGeneric ? kGenericSchema : kNetSchema;
}

// What a search asks for leaves out what matches anything; a new entry has it all.
Table AttributesOf(PwdEntryKey const& key, bool isSearch)
{
    Table table(gio::hash_table_new_full(gio::str_hash, gio::str_equal, nullptr, gio::free));
    if (isSearch) Put(table, "xdg:schema", SchemaOf(key).name);
    char const* const server = key.mIsGeneric ? "service" : "server";
    if (!isSearch || !key.mServer.empty()) Put(table, server, key.mServer);
    if (!isSearch || !key.mAccount.empty()) Put(table, "account", key.mAccount);
    if (key.mIsGeneric) return table;
    if (!isSearch || key.mProtocol != PwdEntryKey::kAny)
        Put(table, "protocol", kProtocolNames[key.mProtocol]);
    if (!isSearch || key.mPort != 0) Put(table, "port", std::to_string(key.mPort));
    return table;
}

// What people see in their store.
std::string LabelOf(PwdEntryKey const& key)
{
    if (key.mIsGeneric) return key.mServer + " (" + key.mAccount + ")";
    return std::string(kProtocolNames[key.mProtocol]) + "://" + key.mAccount + "@" + key.mServer +
           (key.mPort == 0 ? std::string() : ":" + std::to_string(key.mPort));
}

// D-Bus takes nothing else: UTF-8 without zeros.
bool IsText(std::string const& text)
{
    return gio::utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE;
}

bool IsText(PwdEntryKey const& key)
{
    return IsText(key.mServer) && IsText(key.mAccount);
}

Value ValueOf(std::string const& password)
{
    return Value(
        secret::value_new(password.data(), static_cast<gssize>(password.size()), "text/plain"));
}

// What `FindItem` hands out. An item doesn't hold its service by itself.
struct FoundItem
{
    StStoreContext mContext;
    Owned<SecretService> mService;
    Owned<SecretItem> mItem;
};

FoundItem const& FoundItemOf(void* item)
{
    return *static_cast<FoundItem*>(item);
}

template <class T>
Owned<T> Ref(T* object)
{
    return Owned<T>(static_cast<T*>(gio::object_ref(object)));
}

SecretItem* FirstOf(Items const& items)
{
    return static_cast<SecretItem*>(items->data);
}

// The first match, in `items`; what is locked is unlocked, as far as the user lets it be.
PwdSearchResult Search(StStoreCall& call, PwdEntryKey const& key, bool withPassword, Items& items)
{
    if (!IsText(key)) return kPwdNoAnswer;
    SecretService* const service = call.Connect();
    if (!service) return kPwdNoAnswer;
    int const flags = SECRET_SEARCH_UNLOCK | (withPassword ? SECRET_SEARCH_LOAD_SECRETS : 0);
    GError* error = nullptr;
    items.reset(secret::service_search_sync(service, nullptr, AttributesOf(key, true).get(),
                                            static_cast<SecretSearchFlags>(flags), call.Limit(),
                                            &error));
    if (error) {
        gio::error_free(error);
        return kPwdNoAnswer;
    }
    return items ? kPwdFound : kPwdNotFound;
}

// Answers how many it changed.
using StoreOperation = gint(SecretService*, GList*, GCancellable*, GList**, GError**);

class CPwdDBPlatformLinux final : public CBasicPwdDBPlatform
{
public:
    bool HasStore() override
    {
        return Call(false, [](StStoreCall& call) { return call.Connect() != nullptr; });
    }

    bool Unlock() override { return Change(secret::service_unlock_sync); }

    bool Lock() override { return Change(secret::service_lock_sync); }

    bool IsUnlocked() override
    {
        return Call(false, [](StStoreCall& call) {
            Owned<SecretCollection> const collection = DefaultCollection(call, call.Connect());
            return collection && !secret::collection_get_locked(collection.get());
        });
    }

    PwdSearchResult FindPassword(PwdEntryKey const& key, std::string* password) override
    {
        return Call(kPwdNoAnswer, [&](StStoreCall& call) {
            Items items;
            PwdSearchResult const result = Search(call, key, true, items);
            if (result != kPwdFound) return result;
            Value const value(secret::item_get_secret(FirstOf(items)));
            if (!value) return kPwdNotFound;
            gsize size = 0;
            char const* const bytes = secret::value_get(value.get(), &size);
            password->assign(bytes, size);
            return kPwdFound;
        });
    }

    PwdSearchResult FindItem(PwdEntryKey const& key, void** item) override
    {
        return Call(kPwdNoAnswer, [&](StStoreCall& call) {
            Items items;
            PwdSearchResult const result = Search(call, key, false, items);
            if (result == kPwdFound)
                *item = new FoundItem{call.Context(), Ref(call.Service()), Ref(FirstOf(items))};
            return result;
        });
    }

    void SetPassword(void* item, std::string const& password) override
    {
        Call(false, [&](StStoreCall& call) {
            FoundItem const& found = FoundItemOf(item);
            call.Use(found.mService.get());
            return secret::item_set_secret_sync(found.mItem.get(), ValueOf(password).get(),
                                                call.Limit(), nullptr) != FALSE;
        });
    }

    void DeleteItem(void* item) override
    {
        Call(false, [&](StStoreCall& call) {
            return secret::item_delete_sync(FoundItemOf(item).mItem.get(), call.Limit(), nullptr) !=
                   FALSE;
        });
    }

    void ReleaseItem(void* item) override { delete static_cast<FoundItem*>(item); }

    void MakeEntry(PwdEntryKey const& key, std::string const& password) override
    {
        Call(false, [&](StStoreCall& call) {
            SecretService* const service = IsText(key) ? call.Connect() : nullptr;
            return service && secret::service_store_sync(
                                  service, &SchemaOf(key), AttributesOf(key, false).get(),
                                  SECRET_COLLECTION_DEFAULT, LabelOf(key).c_str(),
                                  ValueOf(password).get(), call.Limit(), nullptr) != FALSE;
        });
    }

private:
    // Runs `action` within the time of a call; `failure` if there is no libsecret, or no thread to
    // watch it.
    template <class Result, class Action>
    static Result Call(Result failure, Action const& action)
    {
        if (!secret::library.IsThere()) return failure;
        try {
            StStoreCall call;
            return action(call);
        } catch (std::system_error const&) {
            return failure;
        }
    }

    // `service` may be null, and then it is null too.
    static Owned<SecretCollection> DefaultCollection(StStoreCall const& call,
                                                     SecretService* service)
    {
        if (!service) return nullptr;
        return Owned<SecretCollection>(secret::collection_for_alias_sync(
            service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, call.Limit(), nullptr));
    }

    // The operation is looked for when it is clear that there is a libsecret.
    static bool Change(CLateFunction<StoreOperation>& operation)
    {
        return Call(false, [&](StStoreCall& call) {
            SecretService* const service = call.Connect();
            Owned<SecretCollection> const collection = DefaultCollection(call, service);
            if (!collection) return false;
            GList only{};
            only.data = collection.get();
            return operation(service, &only, call.Limit(), nullptr, nullptr) > 0;
        });
    }
};

}  // namespace

CBasicPwdDBPlatform* NewPwdDBPlatform()
{
    return new CPwdDBPlatformLinux;
}
