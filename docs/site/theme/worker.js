// A page opened from a folder may start no worker. Its script then runs in a frame, which has a global scope of its own.
if (location.protocol === "file:") {
    window.Worker = class extends EventTarget {
        constructor(url) {
            super();
            this.waiting = [];
            const frame = document.createElement("iframe");
            frame.hidden = true;
            frame.onload = () => {
                const scope = frame.contentWindow;
                scope.postMessage = data => this.dispatchEvent(new MessageEvent("message", {data}));
                const script = frame.contentDocument.createElement("script");
                script.onload = () => {
                    this.scope = scope;
                    for (const data of this.waiting.splice(0)) this.postMessage(data);
                };
                script.src = url;
                frame.contentDocument.head.append(script);
            };
            document.body.append(frame);
        }
        postMessage(data) {
            if (this.scope) this.scope.dispatchEvent(new this.scope.MessageEvent("message", {data}));
            else this.waiting.push(data);
        }
        terminate() {}
    };
}
