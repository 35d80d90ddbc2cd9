/* A host app's use of libvelmora-appgroup: writes the three records the widgets read, checked
 * first, then asks the running widget host to reload them.
 *
 *   cc host_app.c $(pkg-config --cflags --libs velmora-appgroup) -o host_app
 *   ./host_app [STORE_DIR]
 *
 * Without STORE_DIR the store is where the widgets look. Exits 0 when the records are written,
 * whether or not a widget host was running to reload them. */
#include <velmora/appgroup.h>

#include <stdio.h>
#include <string.h>

static const char dailyBrief[] =
    "{\"ticker\":\"NVDA\",\"companyName\":\"NVIDIA\",\"summary\":\"Momentum continues with options "
    "flow signalling continuation through earnings.\",\"signal\":\"Strong Buy\",\"score\":84,"
    "\"generatedAt\":\"2025-11-16T06:30:00Z\"}";
static const char watchlistTickers[] =
    "[{\"ticker\":\"AAPL\",\"companyName\":\"Apple Inc.\",\"price\":187.32,\"changePct\":0.84,"
    "\"signal\":\"Buy\",\"score\":72},"
    "{\"ticker\":\"AMD\",\"companyName\":\"Advanced Micro Devices\",\"price\":151.2,"
    "\"changePct\":2.4,\"signal\":\"Buy\"},"
    "{\"ticker\":\"INTC\",\"price\":24.1,\"changePct\":-1.3,\"signal\":\"Sell\"}]";
static const char portfolioSnapshot[] =
    "{\"totalValue\":25400.5,\"totalPnl\":1200,\"totalReturn\":4.9,\"dailyChange\":-80,"
    "\"dailyChangePct\":-0.31,\"holdingCount\":3,\"sourceLabel\":\"Broker\","
    "\"updatedAt\":\"2025-11-10T09:30:00Z\"}";

/* Prints the failure and frees it; returns 1. */
static int report(const char* what, velmora_appgroup_error* error) {
    fprintf(stderr, "%s: %s\n", what, velmora_appgroup_error_message(error));
    velmora_appgroup_error_free(error);
    return 1;
}

int main(int argc, char** argv) {
    const char* directory = argc > 1 ? argv[1] : NULL;
    velmora_appgroup_error* error = NULL;
    velmora_appgroup_store* store = NULL;
    if (velmora_appgroup_store_open(directory, &store, &error) != VELMORA_APPGROUP_OK)
        return report("cannot open the store", error);

    const struct {
        const char* key;
        const char* json;
    } records[] = {
        {VELMORA_APPGROUP_KEY_DAILY_BRIEF, dailyBrief},
        {VELMORA_APPGROUP_KEY_WATCHLIST_TICKERS, watchlistTickers},
        {VELMORA_APPGROUP_KEY_PORTFOLIO_SNAPSHOT, portfolioSnapshot},
    };
    for (size_t i = 0; i < sizeof records / sizeof records[0]; ++i) {
        if (velmora_appgroup_write_record(store, records[i].key, records[i].json,
                                          strlen(records[i].json), &error) != VELMORA_APPGROUP_OK) {
            velmora_appgroup_store_close(store);
            return report(records[i].key, error);
        }
    }
    printf("wrote %zu records to %s\n", sizeof records / sizeof records[0],
           velmora_appgroup_store_directory(store));
    velmora_appgroup_store_close(store);

    switch (velmora_appgroup_reload(NULL, &error)) {
        case VELMORA_APPGROUP_OK:
            printf("reload: taken\n");
            return 0;
        case VELMORA_APPGROUP_NONE_RUNNING:
            /* The widgets read the records when they next run. */
            printf("reload: none running (%s)\n", velmora_appgroup_error_message(error));
            velmora_appgroup_error_free(error);
            return 0;
        default:
            return report("reload", error);
    }
}
