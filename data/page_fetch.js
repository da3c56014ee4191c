try {
    const ctrl = new AbortController();
    setTimeout(() => ctrl.abort(), timeout);   // give up after `timeout` ms
    const r = await fetch(url, { credentials: "include", headers: Object.assign({ "Accept": "application/json" }, extra), signal: ctrl.signal });
    // The two headers that tell a rate limit and a bot check from the service's own answer, and
    // where the answer came from after any redirect.
    return JSON.stringify({ code: r.status, body: await r.text(), url: r.url,
                            retryAfter: r.headers.get("Retry-After"), mitigated: r.headers.get("cf-mitigated") });
} catch (e) {
    return JSON.stringify({ code: -1, body: String(e) + " (page: " + location.href + ")" });
}
