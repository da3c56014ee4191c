try {
    const ctrl = new AbortController();
    setTimeout(() => ctrl.abort(), 15000);   // give up after 15 seconds
    const r = await fetch(url, { credentials: "include", headers: Object.assign({ "Accept": "application/json" }, extra), signal: ctrl.signal });
    return JSON.stringify({ code: r.status, body: await r.text() });
} catch (e) {
    return JSON.stringify({ code: -1, body: String(e) + " (page: " + location.href + ")" });
}
