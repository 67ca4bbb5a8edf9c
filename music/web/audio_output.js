// The page's sound output. The program renders the music ahead, as the ring's refill
// passes do on the desktop, and hands every new run of samples to the output, which
// plays them in order and tells how many ring frames it has played: the position the
// refill passes follow. The output runs on the audio thread in an AudioWorklet, so a
// busy page cannot gap the music while the queue (up to the ring's two seconds) lasts;
// where the browser has no worklet (a page served over plain http from another host is
// not a secure context), a ScriptProcessorNode pulls the same queue on the page's
// thread.

// The queue of planar float chunks at the output rate, each with the number of ring
// frames it stands for. This one function is also the worklet's whole source (loaded
// from a data URL, so the page needs no server and no file beside it): inside the
// worklet it registers the processor.
function invitroAudioQueue() {
  function Queue() {
    this.chunks = [];
    this.offset = 0; // frames of the first chunk already played
    this.ringPlayed = 0;
    this.underruns = 0;
    this.started = false;
  }
  Queue.prototype.push = function (left, right, ring) {
    this.chunks.push({ left: left, right: right, ring: ring });
    this.started = true;
  };
  // Fills both channels; a call that finds too little, once anything came, is an
  // underrun.
  Queue.prototype.pull = function (outLeft, outRight) {
    var n = outLeft.length, done = 0;
    while (done < n && this.chunks.length) {
      var c = this.chunks[0];
      var take = Math.min(n - done, c.left.length - this.offset);
      outLeft.set(c.left.subarray(this.offset, this.offset + take), done);
      outRight.set(c.right.subarray(this.offset, this.offset + take), done);
      done += take;
      this.offset += take;
      if (this.offset == c.left.length) {
        this.ringPlayed += c.ring;
        this.chunks.shift();
        this.offset = 0;
      }
    }
    if (done == n) return;
    outLeft.fill(0, done);
    outRight.fill(0, done);
    if (this.started) ++this.underruns;
  };
  // Ring frames played, the chunk being played in proportion.
  Queue.prototype.played = function () {
    var c = this.chunks[0];
    return this.ringPlayed + (c ? Math.floor((c.ring * this.offset) / c.left.length) : 0);
  };

  if (typeof registerProcessor == "function") {
    registerProcessor("invitro-queue", class extends AudioWorkletProcessor {
      constructor() {
        super();
        this.queue = new Queue();
        this.calls = 0;
        this.port.onmessage = (e) => this.queue.push(e.data.left, e.data.right, e.data.ring);
      }
      process(inputs, outputs) {
        this.queue.pull(outputs[0][0], outputs[0][1]);
        // About every 23 ms: the page refills the ring and sends what is new.
        if (++this.calls % 8 == 0)
          this.port.postMessage({ played: this.queue.played(), underruns: this.queue.underruns });
        return true;
      }
    });
  }
  return Queue;
}

// The output on the page: Module.invitroAudio while the show has sound.
Module.invitroAudioCreate = function (rate) {
  var Context = window.AudioContext || window.webkitAudioContext;
  if (!Context) {
    console.log("invitro: this browser has no Web Audio; the show runs silent");
    return 0;
  }
  var context;
  try {
    context = new Context({ sampleRate: Module.invitroSampleRate || rate });
  } catch (e) {
    try {
      context = new Context();
    } catch (e2) {
      console.log("invitro: no sound output (" + e2 + "); the show runs silent");
      return 0;
    }
  }
  var audio = { context: context, node: null, queue: null, pending: [], played: 0, underruns: 0,
                reported: 0, worklet: null, feed: null };
  Module.invitroAudio = audio;
  if (context.audioWorklet) {
    // A data URL: a page opened as a file has an opaque origin, from which Chromium
    // loads no Blob URL into a worklet.
    audio.worklet = context.audioWorklet.addModule(
      "data:text/javascript;charset=utf-8," + encodeURIComponent("(" + invitroAudioQueue + ")();"));
  }
  invitroAudioKeepRunning(audio);
  return context.sampleRate | 0;
};

// Starts playing; `feed(played)` is called with the ring frames played each time the
// output has used some, and pushes what is new.
Module.invitroAudioStart = function (feed) {
  var audio = Module.invitroAudio;
  if (!audio || audio.node) return;
  audio.feed = feed;
  var connect = function (node) {
    if (Module.invitroAudio != audio) return;
    audio.node = node;
    node.connect(audio.context.destination);
  };
  var fallback = function () {
    var node;
    try {
      node = audio.context.createScriptProcessor(4096, 0, 2);
    } catch (e) {
      console.log("invitro: no sound output (" + e + "); the show runs silent");
      return;
    }
    var queue = new (invitroAudioQueue())();
    audio.pending.forEach(function (c) { queue.push(c.left, c.right, c.ring); });
    audio.pending = null;
    audio.queue = queue;
    node.onaudioprocess = function (e) {
      queue.pull(e.outputBuffer.getChannelData(0), e.outputBuffer.getChannelData(1));
      audio.underruns = queue.underruns;
      feed(queue.played());
    };
    connect(node);
  };
  if (!audio.worklet) {
    fallback();
    return;
  }
  audio.worklet.then(function () {
    if (Module.invitroAudio != audio) return;
    var node = new AudioWorkletNode(audio.context, "invitro-queue",
                                    { numberOfInputs: 0, outputChannelCount: [2] });
    node.port.onmessage = function (e) {
      audio.underruns = e.data.underruns;
      feed(e.data.played);
    };
    audio.pending.forEach(function (c) { invitroAudioSend(node, c); });
    audio.pending = null;
    connect(node);
  }, function (e) {
    console.log("invitro: the audio worklet did not load (" + e + "); sound runs on the page");
    fallback();
  });
};

function invitroAudioSend(node, c) {
  node.port.postMessage(c, [c.left.buffer, c.right.buffer]);
}

// A chunk of `frames` output frames, left then right plane at `pointer` in the heap.
Module.invitroAudioPush = function (pointer, frames, ring) {
  var audio = Module.invitroAudio;
  if (!audio) return;
  var at = pointer >> 2;
  var c = { left: HEAPF32.slice(at, at + frames), right: HEAPF32.slice(at + frames, at + 2 * frames),
            ring: ring };
  if (audio.pending) audio.pending.push(c);
  else if (audio.queue) audio.queue.push(c.left, c.right, c.ring);
  else invitroAudioSend(audio.node, c);
};

// Underruns since the last call.
Module.invitroAudioUnderruns = function () {
  var audio = Module.invitroAudio;
  if (!audio) return 0;
  var n = audio.underruns - audio.reported;
  audio.reported = audio.underruns;
  return n;
};

Module.invitroAudioStop = function () {
  var audio = Module.invitroAudio;
  if (!audio) return;
  Module.invitroAudio = null;
  if (audio.node) {
    audio.node.onaudioprocess = null;
    audio.node.port && (audio.node.port.onmessage = null);
    audio.node.disconnect();
  }
  audio.release();
  audio.context.close().catch(function () {});
};

// Browsers hold the sound until a gesture, and suspend or interrupt it on their own
// (a call, an app switch, a tab left for long): every tap, click or key press, and the
// page's return to view, resumes it until it runs. Touch gives the page a gesture only
// on its end, so both ends of a pointer press are listened to.
function invitroAudioKeepRunning(audio) {
  var context = audio.context;
  var events = ["pointerdown", "pointerup", "touchend", "click", "keydown"];
  var resume = function () {
    if (context.state != "running" && context.state != "closed")
      context.resume().catch(function () {});
  };
  var visible = function () {
    if (!document.hidden) resume();
  };
  var listening = false;
  var listen = function (on) {
    if (on == listening) return;
    listening = on;
    events.forEach(function (type) {
      (on ? window.addEventListener : window.removeEventListener).call(window, type, resume, true);
    });
  };
  var watch = function () {
    listen(context.state != "running" && context.state != "closed");
  };
  context.addEventListener("statechange", watch);
  document.addEventListener("visibilitychange", visible);
  audio.release = function () {
    listen(false);
    context.removeEventListener("statechange", watch);
    document.removeEventListener("visibilitychange", visible);
  };
  watch();
  resume();
  // A context made in a gesture may take a moment to run; one still held then waits
  // for the visitor.
  setTimeout(function () {
    if (context.state != "running" && context.state != "closed")
      console.log("invitro: the browser holds the sound until the page is tapped, clicked or a key pressed");
  }, 1000);
}
